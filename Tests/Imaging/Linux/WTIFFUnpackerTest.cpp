// Pages of every form that libtiff writes, read as the program reads them and by the readers that do without it.

#include "Images/WImageFile.h"
#include "Imaging/TestImages.h"
#include "Imaging/TestPages.h"
#include "TestFolder.h"

#include <tiffio.h>

namespace
{
struct Variant
{
    int compression;
    int predictor;
    std::uint32_t tile;         ///< Pixels of its sides; 0 for strips.
    std::uint32_t rowsPerStrip; ///< Of strips.
    int planes;
    int fillOrder;
    const char* mode;
};

std::string Describe( const Variant& inVariant, const WImagePage& inPage )
{
    return std::string( inVariant.mode ) + ", compression " + std::to_string( inVariant.compression ) +
        ", predictor " + std::to_string( inVariant.predictor ) + ", tile " +
        std::to_string( inVariant.tile ) + ", rows " + std::to_string( inVariant.rowsPerStrip ) +
        ", planes " + std::to_string( inVariant.planes ) + ", fill order " +
        std::to_string( inVariant.fillOrder ) + ", " + std::to_string( inPage.channels ) + " channels of " +
        std::to_string( inPage.GetSampleSize() );
}

/// The samples of a block, whatever lies beyond the page being 0.
std::vector<std::byte> CutOut(
    const WImagePage& inPage, std::uint32_t inLeft, std::uint32_t inTop, std::uint32_t inWidth,
    std::uint32_t inHeight, int inChannel )
{
    const auto size = inPage.GetSampleSize();
    const auto channels = inChannel < 0 ? inPage.channels : 1;
    std::vector<std::byte> block( std::size_t{ inWidth } * inHeight * channels * size );
    for ( std::uint32_t y = inTop; y < std::min( inTop + inHeight, inPage.height ); ++y )
        for ( std::uint32_t x = inLeft; x < std::min( inLeft + inWidth, inPage.width ); ++x )
        {
            const auto first = inChannel < 0 ? 0u : static_cast<std::uint32_t>( inChannel );
            std::memcpy(
                block.data() + ( std::size_t{ y - inTop } * inWidth + x - inLeft ) * channels * size,
                inPage.samples.get() +
                    ( ( std::size_t{ y } * inPage.width + x ) * inPage.channels + first ) * size,
                channels * size );
        }
    return block;
}

void WriteVariant( const std::filesystem::path& inPath, const Variant& inVariant, const WImagePage& inPage )
{
    TIFF* const file = TIFFOpen( inPath.c_str(), inVariant.mode );
    TIFFSetField( file, TIFFTAG_IMAGEWIDTH, inPage.width );
    TIFFSetField( file, TIFFTAG_IMAGELENGTH, inPage.height );
    TIFFSetField( file, TIFFTAG_SAMPLESPERPIXEL, inPage.channels );
    TIFFSetField( file, TIFFTAG_BITSPERSAMPLE, inPage.GetSampleSize() * 8 );
    TIFFSetField(
        file, TIFFTAG_SAMPLEFORMAT,
        inPage.type == WImagePage::kFloat32 ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT );
    TIFFSetField( file, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK );
    TIFFSetField( file, TIFFTAG_PLANARCONFIG, inVariant.planes );
    TIFFSetField( file, TIFFTAG_FILLORDER, inVariant.fillOrder );
    TIFFSetField( file, TIFFTAG_COMPRESSION, inVariant.compression );
    if ( inVariant.predictor > 1 )
        TIFFSetField( file, TIFFTAG_PREDICTOR, inVariant.predictor );
    const auto width = inVariant.tile > 0 ? inVariant.tile : inPage.width;
    const auto height = inVariant.tile > 0 ? inVariant.tile : inVariant.rowsPerStrip;
    if ( inVariant.tile > 0 )
    {
        TIFFSetField( file, TIFFTAG_TILEWIDTH, width );
        TIFFSetField( file, TIFFTAG_TILELENGTH, height );
    }
    else
        TIFFSetField( file, TIFFTAG_ROWSPERSTRIP, height );

    const auto isSeparate = inVariant.planes == PLANARCONFIG_SEPARATE;
    std::uint32_t number = 0;
    for ( std::uint32_t plane = 0; plane < ( isSeparate ? inPage.channels : 1 ); ++plane )
        for ( std::uint32_t top = 0; top < inPage.height; top += height )
            for ( std::uint32_t left = 0; left < inPage.width; left += width )
            {
                const auto rows = inVariant.tile > 0 ? height : std::min( height, inPage.height - top );
                auto block =
                    CutOut( inPage, left, top, width, rows, isSeparate ? static_cast<int>( plane ) : -1 );
                // libtiff swaps bytes before it puts them apart by their place, where there is no order any more.
                if ( inVariant.predictor == PREDICTOR_FLOATINGPOINT && TIFFIsByteSwapped( file ) )
                    TIFFSwabArrayOfLong(
                        reinterpret_cast<std::uint32_t*>( block.data() ),
                        static_cast<tmsize_t>( block.size() / 4 ) );
                const auto size = static_cast<tmsize_t>( block.size() );
                const auto written = inVariant.tile > 0
                    ? TIFFWriteEncodedTile( file, number++, block.data(), size )
                    : TIFFWriteEncodedStrip( file, number++, block.data(), size );
                ASSERT_EQ( written, size );
            }
    TIFFClose( file );
}

/// Stretches of noise, of one value and of slopes, so that runs and texts of all lengths come up.
template<class T>
WImagePage MakeVariedPage( std::uint32_t inWidth, std::uint32_t inHeight, std::uint32_t inChannels )
{
    std::mt19937 random( 5 );
    std::vector<T> samples( std::size_t{ inWidth } * inHeight * inChannels );
    for ( std::size_t i = 0; i < samples.size(); )
    {
        const auto kind = random() % 3;
        auto value = static_cast<std::uint32_t>( random() );
        for ( auto left = random() % 2000 + 1; left > 0 && i < samples.size(); --left, ++i )
        {
            value = kind == 0 ? static_cast<std::uint32_t>( random() ) : value + ( kind == 1 ? 0 : 3 );
            samples[i] = static_cast<T>( value );
        }
    }
    return MakePage( inWidth, samples, inChannels );
}

void ReadVariants( const WImagePage& inPage )
{
    const TestFolder folder;
    const auto path = folder / "image.tif";
    const auto check = [&]( const Variant& inVariant )
    {
        SCOPED_TRACE( Describe( inVariant, inPage ) );
        WriteVariant( path, inVariant, inPage );
        const auto page = WImageFile::Open( path )->ReadPage( 0 );
        ASSERT_TRUE( page.HasSameLayout( inPage ) );
        ASSERT_EQ( std::memcmp( page.samples.get(), inPage.samples.get(), page.GetByteCount() ), 0 );
        const auto blocks = ReadBlocks( path, inPage );
        ASSERT_EQ( std::memcmp( blocks.samples.get(), inPage.samples.get(), page.GetByteCount() ), 0 );
    };
    const std::vector<std::pair<int, int>> packings{
        { COMPRESSION_NONE, 1 },          { COMPRESSION_PACKBITS, 1 },
        { COMPRESSION_LZW, 1 },           { COMPRESSION_LZW, 2 },
        { COMPRESSION_LZW, 3 },           { COMPRESSION_DEFLATE, 1 },
        { COMPRESSION_ADOBE_DEFLATE, 1 }, { COMPRESSION_ADOBE_DEFLATE, 2 },
        { COMPRESSION_ADOBE_DEFLATE, 3 } };
    for ( const auto& [compression, predictor] : packings )
    {
        if ( predictor == 3 && inPage.type != WImagePage::kFloat32 )
            continue;
        for ( const auto planes : { PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE } )
            for ( const auto* mode : { "wl", "wb", "w8b" } )
                for ( const std::uint32_t tile : { 0, 32 } )
                {
                    check( { compression, predictor, tile, 7, planes, FILLORDER_MSB2LSB, mode } );
                    if ( testing::Test::HasFatalFailure() )
                        return;
                }
        check( { compression, predictor, 0, 1, PLANARCONFIG_SEPARATE, FILLORDER_LSB2MSB, "wb" } );
        check( { compression, predictor, 0, inPage.height, PLANARCONFIG_CONTIG, FILLORDER_LSB2MSB, "wl" } );
        check( { compression, predictor, 16, 0, PLANARCONFIG_CONTIG, FILLORDER_LSB2MSB, "wb" } );
    }
}
} // namespace

TEST( WTIFFUnpackerTest, ReadsEverySampleOfEveryForm )
{
    for ( std::uint32_t channels = 1; channels <= 4; channels += kIsSanitized ? 3 : 1 )
    {
        ReadVariants( MakeVariedPage<std::uint8_t>( 70, 40, channels ) );
        ReadVariants( MakeVariedPage<std::uint16_t>( 70, 40, channels ) );
        ReadVariants( MakeVariedPage<float>( 70, 40, channels ) );
    }
}

// More than is unpacked at a time, so that texts and runs go on in the next piece.
TEST( WTIFFUnpackerTest, ReadsLongStrips )
{
    const TestFolder folder;
    const auto page = MakeVariedPage<std::uint16_t>( 1001, 700, 1 );
    for ( const auto compression : { COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS } )
    {
        WriteVariant( folder / "long.tif", { compression, 1, 0, 700, 1, 1, "wl" }, page );
        const auto read = ReadBlocks( folder / "long.tif", page );
        EXPECT_EQ( std::memcmp( read.samples.get(), page.samples.get(), page.GetByteCount() ), 0 );
    }
}

// Its bits lie the other way round.
TEST( WTIFFUnpackerTest, ReadsLZWOfBefore1992 )
{
    const TestFolder folder;
    std::string digits( kLZW8 );
    digits.replace( digits.find( "800000202018" ), 32, "00010410308040010307102450b02020" );
    const auto page = WImageFile::Open( folder.Write( "old.tif", FromHex( digits ) ) )->ReadPage( 0 );
    for ( std::uint8_t i = 0; i < 12; ++i )
        EXPECT_EQ( page.GetSamples<std::uint8_t>()[i], i );
}
