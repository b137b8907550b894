// Compressed TIFF pages read by ours and by libtiff, whose compressor wrote them: 2048 x 2048 pixels of 16 bits, a slope
// with the noise of a camera, in strips of 32 rows.

#include "Images/WImageFile.h"

#include "Startup/WInitCore.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <random>
#include <tiffio.h>

namespace
{
constexpr std::uint32_t kSide = 2048, kRowsPerStrip = 32;
constexpr tmsize_t kStripSize = kSide * kRowsPerStrip * 2;

std::vector<std::uint16_t> MakeSamples()
{
    std::mt19937 random( 1 );
    std::normal_distribution<float> noise( 0, 6 );
    std::vector<std::uint16_t> samples( kSide * kSide );
    for ( std::uint32_t i = 0; i < samples.size(); ++i )
        samples[i] = static_cast<std::uint16_t>(
            1000 + i / kSide + i % kSide / 4 + static_cast<int>( noise( random ) ) );
    return samples;
}

struct Close
{
    void operator()( TIFF* inFile ) const { TIFFClose( inFile ); }
};
using File = std::unique_ptr<TIFF, Close>;

std::filesystem::path WriteImage( int inCompression, int inPredictor )
{
    const auto path = std::filesystem::temp_directory_path() / "korvale-bench-image.tif";
    const File file( TIFFOpen( path.c_str(), "w" ) );
    TIFFSetField( file.get(), TIFFTAG_IMAGEWIDTH, kSide );
    TIFFSetField( file.get(), TIFFTAG_IMAGELENGTH, kSide );
    TIFFSetField( file.get(), TIFFTAG_SAMPLESPERPIXEL, 1 );
    TIFFSetField( file.get(), TIFFTAG_BITSPERSAMPLE, 16 );
    TIFFSetField( file.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK );
    TIFFSetField( file.get(), TIFFTAG_ROWSPERSTRIP, kRowsPerStrip );
    TIFFSetField( file.get(), TIFFTAG_COMPRESSION, inCompression );
    if ( inPredictor != PREDICTOR_NONE )
        TIFFSetField( file.get(), TIFFTAG_PREDICTOR, inPredictor );
    auto samples = MakeSamples();
    for ( std::uint32_t strip = 0; strip < kSide / kRowsPerStrip; ++strip )
        TIFFWriteEncodedStrip(
            file.get(), strip, samples.data() + std::size_t{ strip } * kRowsPerStrip * kSide, kStripSize );
    return path;
}

void ReadImageKorvale( benchmark::State& ioState, int inCompression, int inPredictor )
{
    static const WInitCore sCore;
    const auto file = WImageFile::Open( WriteImage( inCompression, inPredictor ) );
    for ( auto _ : ioState )
        benchmark::DoNotOptimize( file->ReadPage( 0 ).samples.get() );
    ioState.SetBytesProcessed( static_cast<std::int64_t>( ioState.iterations() ) * kSide * kSide * 2 );
}

void ReadImageLibtiff( benchmark::State& ioState, int inCompression, int inPredictor )
{
    const File file( TIFFOpen( WriteImage( inCompression, inPredictor ).c_str(), "rm" ) );
    for ( auto _ : ioState )
    {
        const auto samples = std::make_unique_for_overwrite<std::uint16_t[]>( kSide * kSide );
        for ( std::uint32_t strip = 0; strip < kSide / kRowsPerStrip; ++strip )
            TIFFReadEncodedStrip(
                file.get(), strip, samples.get() + std::size_t{ strip } * kRowsPerStrip * kSide, kStripSize );
        benchmark::DoNotOptimize( samples.get() );
    }
    ioState.SetBytesProcessed( static_cast<std::int64_t>( ioState.iterations() ) * kSide * kSide * 2 );
}
} // namespace

#define READ_IMAGE( name, compression, predictor )                                                           \
    BENCHMARK_CAPTURE( ReadImageKorvale, name, compression, predictor )->Unit( benchmark::kMillisecond );    \
    BENCHMARK_CAPTURE( ReadImageLibtiff, name, compression, predictor )->Unit( benchmark::kMillisecond )

READ_IMAGE( none, COMPRESSION_NONE, PREDICTOR_NONE );
READ_IMAGE( packbits, COMPRESSION_PACKBITS, PREDICTOR_NONE );
READ_IMAGE( lzw, COMPRESSION_LZW, PREDICTOR_NONE );
READ_IMAGE( lzw_predictor, COMPRESSION_LZW, PREDICTOR_HORIZONTAL );
READ_IMAGE( deflate, COMPRESSION_ADOBE_DEFLATE, PREDICTOR_NONE );
READ_IMAGE( deflate_predictor, COMPRESSION_ADOBE_DEFLATE, PREDICTOR_HORIZONTAL );

BENCHMARK_MAIN();
