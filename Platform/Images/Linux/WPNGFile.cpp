#include "Files/WFile.h"
#include "Images/WImageFile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <csetjmp>
#include <cstdio>
#include <exception>
#include <limits>
#include <png.h>

// libpng reports an error by a jump out of its call (longjmp). A jump must not pass a function with objects
// to destroy, so each call of the library that may fail is in a small function of its own that has none and
// returns whether it succeeded; exceptions of the callbacks are kept in Source and thrown again on this side.
//
// Alpha is dropped, palettes and grey of few bits become 8-bit samples, 16-bit samples get the byte order of
// the processor.

namespace
{
constexpr png_uint_32 kRowsAtOnce = 16;
constexpr png_uint_32 kKeepNoTexts = 1; // A small compressed text can become large, and there may be many.

/// The file as libpng reads it, and what went wrong: libpng is C code, which no exception may pass.
struct Source
{
    WFile file;
    std::uint64_t position = 0;
    std::exception_ptr failure;
    char message[128] = {};
};

void ReadSource( png_structp inPNG, png_bytep outData, size_t inCount )
{
    auto& source = *static_cast<Source*>( png_get_io_ptr( inPNG ) );
    std::uint64_t count = 0;
    try
    {
        count = source.file.ReadAt( source.position, outData, inCount );
        source.position += count;
    }
    catch ( ... )
    {
        source.failure = std::current_exception();
    }
    if ( count != inCount )
        png_error( inPNG, "it is cut off" );
}

[[noreturn]] void KeepReadMessage( png_structp inPNG, png_const_charp inText )
{
    auto& source = *static_cast<Source*>( png_get_error_ptr( inPNG ) );
    std::snprintf( source.message, sizeof( source.message ), "%s", inText );
    png_longjmp( inPNG, 1 );
}

void IgnoreReadWarning( png_structp, png_const_charp ) {}

class PNGFile : public WImageFile
{
public:
    explicit PNGFile( const std::filesystem::path& inPath );
    ~PNGFile() override { png_destroy_read_struct( &itsPNG, &itsInfo, nullptr ); }
    Layout GetLayout( std::uint32_t ) const override { return ReadPNGLayout( itsSource.file ); }
    std::string GetFormatName() const override { return "PNG"; }

protected:
    WImagePage ReadPageSelf(
        std::uint32_t inPage, const Progress& inProgress, const WImagePage::Allocator& inAllocator ) override;

private:
    Source itsSource;
    png_structp itsPNG = nullptr;
    png_infop itsInfo = nullptr;

    WImagePage MakePage( const WImagePage::Allocator& inAllocator );
    void CheckSize();
    void ReadSomeRows( png_uint_32 inFirst, WImagePage& outPage );
    void Check( bool inSuccess );
};

// The functions in which libpng may jump back have no objects to destroy.

bool ReadHeader( png_structp inPNG, png_infop inInfo )
{
    if ( setjmp( png_jmpbuf( inPNG ) ) )
        return false;
    png_read_info( inPNG, inInfo );
    return true;
}

/// Here libpng reserves the memory for its rows.
bool StartRows( png_structp inPNG, png_infop inInfo, int& outPasses )
{
    if ( setjmp( png_jmpbuf( inPNG ) ) )
        return false;
    png_set_palette_to_rgb( inPNG );
    png_set_expand_gray_1_2_4_to_8( inPNG );
    png_set_strip_alpha( inPNG );
    if ( std::endian::native == std::endian::little )
        png_set_swap( inPNG );
    outPasses = png_set_interlace_handling( inPNG );
    png_read_update_info( inPNG, inInfo );
    return true;
}

bool ReadRows( png_structp inPNG, png_bytepp inRows, png_uint_32 inCount )
{
    if ( setjmp( png_jmpbuf( inPNG ) ) )
        return false;
    png_read_rows( inPNG, inRows, nullptr, inCount );
    return true;
}

bool ReadEnd( png_structp inPNG )
{
    if ( setjmp( png_jmpbuf( inPNG ) ) )
        return false;
    png_read_end( inPNG, nullptr );
    return true;
}

PNGFile::PNGFile( const std::filesystem::path& inPath )
    : itsSource{ WFile( inPath, WFile::kRead ), 0, {}, {} }
{
}

WImagePage
PNGFile::ReadPageSelf( std::uint32_t, const Progress& inProgress, const WImagePage::Allocator& inAllocator )
{
    itsSource.position = 0;
    // A PNG file can only be read from its beginning: every reading starts anew.
    png_destroy_read_struct( &itsPNG, &itsInfo, nullptr );
    itsPNG = png_create_read_struct( PNG_LIBPNG_VER_STRING, &itsSource, KeepReadMessage, IgnoreReadWarning );
    itsInfo = itsPNG ? png_create_info_struct( itsPNG ) : nullptr;
    Check( itsInfo != nullptr );
    png_set_read_fn( itsPNG, &itsSource, ReadSource );
    png_set_user_limits( itsPNG, PNG_UINT_31_MAX, PNG_UINT_31_MAX );
    png_set_chunk_cache_max( itsPNG, kKeepNoTexts );
    Check( ReadHeader( itsPNG, itsInfo ) );
    CheckSize();
    int passes = 1;
    Check( StartRows( itsPNG, itsInfo, passes ) );

    auto page = MakePage( inAllocator );
    for ( int pass = 0; pass < passes; ++pass )
        for ( png_uint_32 row = 0; row < page.height; row += kRowsAtOnce )
        {
            inProgress( ( pass + static_cast<double>( row ) / page.height ) / passes );
            ReadSomeRows( row, page );
        }
    Check( ReadEnd( itsPNG ) );
    return page;
}

void PNGFile::CheckSize()
{
    CheckPNGSize(
        itsSource.file.GetSize(), png_get_image_width( itsPNG, itsInfo ),
        png_get_image_height( itsPNG, itsInfo ),
        std::uint32_t{ png_get_bit_depth( itsPNG, itsInfo ) } * png_get_channels( itsPNG, itsInfo ) );
}

void PNGFile::ReadSomeRows( png_uint_32 inFirst, WImagePage& outPage )
{
    std::array<png_bytep, kRowsAtOnce> rows;
    const auto count = std::min( kRowsAtOnce, outPage.height - inFirst );
    for ( png_uint_32 i = 0; i < count; ++i )
        rows[i] = reinterpret_cast<png_bytep>( outPage.samples.get() ) +
            ( std::uint64_t{ inFirst } + i ) * outPage.GetRowSize();
    Check( ReadRows( itsPNG, rows.data(), count ) );
}

WImagePage PNGFile::MakePage( const WImagePage::Allocator& inAllocator )
{
    WImagePage page;
    page.width = png_get_image_width( itsPNG, itsInfo );
    page.height = png_get_image_height( itsPNG, itsInfo );
    page.channels = png_get_channels( itsPNG, itsInfo );
    page.type = png_get_bit_depth( itsPNG, itsInfo ) == 16 ? WImagePage::kUInt16 : WImagePage::kUInt8;

    png_uint_32 x = 0, y = 0;
    int unit = PNG_RESOLUTION_UNKNOWN;
    png_get_pHYs( itsPNG, itsInfo, &x, &y, &unit );
    if ( unit == PNG_RESOLUTION_METER && x > 0 && y > 0 )
    {
        page.pixelWidth = 1e6 / x;
        page.pixelHeight = 1e6 / y;
    }
    page.Allocate( std::numeric_limits<std::uint64_t>::max(), inAllocator );
    return page;
}

void PNGFile::Check( bool inSuccess )
{
    if ( itsSource.failure )
        std::rethrow_exception( itsSource.failure );
    if ( !inSuccess )
        throw WImageError( std::string( "it is damaged: " ) + itsSource.message );
}
} // namespace

std::unique_ptr<WImageFile> WImageFile::OpenPNG( const std::filesystem::path& inPath )
{
    return std::make_unique<PNGFile>( inPath );
}
