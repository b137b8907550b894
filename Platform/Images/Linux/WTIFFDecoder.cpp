#include "Images/WTIFFDecoder.h"

#include "Images/WImageFile.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <tiffio.h>

// libtiff reports errors through a handler of the process, on the thread that reads; the first message of an
// operation is kept in a thread-local text, since the later ones are its consequences. The library reads the
// file by its own descriptor and finds the page by the offset of its directory, so both readers must have the
// same idea of the page: HasForm compares them before any sample is copied.

namespace
{
constexpr std::uint64_t kMostAtOnce = 8 * 1024 * 1024; // bytes of a strip
constexpr const char* kDamaged = "its compressed samples cannot be read";

/// libtiff's first complaint since this was cleared. It complains on the thread that reads.
thread_local std::string sMessage;

void KeepMessage( const char*, const char* inFormat, va_list inArguments )
{
    char text[256];
    std::vsnprintf( text, sizeof( text ), inFormat, inArguments );
    if ( sMessage.empty() )
        sMessage = text;
}

void Check( bool inSuccess )
{
    if ( !inSuccess )
        throw WImageError( sMessage.empty() ? kDamaged : kDamaged + ( ": " + sMessage ) );
}
} // namespace

class WTIFFDecoder::Implementation
{
public:
    explicit Implementation( const std::filesystem::path& inPath );
    ~Implementation() { TIFFClose( itsTIFF ); }
    Implementation( const Implementation& ) = delete;
    Implementation& operator=( const Implementation& ) = delete;

    void Decode( const Source& inSource, const WImageFile::Progress& inProgress, WImagePage& ioPage );

private:
    TIFF* itsTIFF;

    template<class T>
    T GetField( std::uint32_t inTag );
    bool HasForm( const WTIFFSamples& inStored, const WImagePage& inPage );
    void DecodeStrips(
        std::uint16_t inPlane, const WTIFFSamples& inStored, const WImageFile::Progress& inProgress,
        WImagePage& ioPage );
    void DecodeRows(
        std::uint16_t inPlane, const WTIFFSamples& inStored, const WImageFile::Progress& inProgress,
        WImagePage& ioPage );
    void DecodeTiles(
        std::uint16_t inPlane, const Source& inSource, const WImageFile::Progress& inProgress,
        WImagePage& ioPage );
    bool IsSeparate() { return GetField<std::uint16_t>( TIFFTAG_PLANARCONFIG ) == PLANARCONFIG_SEPARATE; }
    std::optional<std::uint32_t> GetChannel( std::uint16_t inPlane )
    {
        return IsSeparate() ? std::optional<std::uint32_t>( inPlane ) : std::nullopt;
    }
};

WTIFFDecoder::Implementation::Implementation( const std::filesystem::path& inPath )
{
    static std::once_flag once;
    std::call_once(
        once,
        []
        {
            TIFFSetWarningHandler( nullptr );
            TIFFSetErrorHandler( KeepMessage );
        } );
    sMessage.clear();
    // Not mapped ("m"): touching a mapped page that the file has lost meanwhile would be a signal.
    itsTIFF = TIFFOpen( inPath.c_str(), "rm" );
    Check( itsTIFF != nullptr );
}

template<class T>
T WTIFFDecoder::Implementation::GetField( std::uint32_t inTag )
{
    T value = 0;
    TIFFGetFieldDefaulted( itsTIFF, inTag, &value );
    return value;
}

bool WTIFFDecoder::Implementation::HasForm( const WTIFFSamples& inStored, const WImagePage& inPage )
{
    return GetField<std::uint32_t>( TIFFTAG_IMAGEWIDTH ) == inPage.width &&
        GetField<std::uint32_t>( TIFFTAG_IMAGELENGTH ) == inPage.height &&
        GetField<std::uint16_t>( TIFFTAG_SAMPLESPERPIXEL ) == inPage.channels &&
        GetField<std::uint16_t>( TIFFTAG_BITSPERSAMPLE ) == inStored.GetBits();
}

void WTIFFDecoder::Implementation::Decode(
    const Source& inSource, const WImageFile::Progress& inProgress, WImagePage& ioPage )
{
    sMessage.clear();
    Check( TIFFSetSubDirectory( itsTIFF, inSource.directoryOffset ) != 0 );
    if ( GetField<std::uint16_t>( TIFFTAG_PHOTOMETRIC ) == PHOTOMETRIC_YCBCR )
        // Makes the library convert brightness and differences to RGB.
        TIFFSetField( itsTIFF, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB );
    Check( HasForm( inSource.stored, ioPage ) );

    const auto planes = static_cast<std::uint16_t>( IsSeparate() ? ioPage.channels : 1 );
    for ( std::uint16_t plane = 0; plane < planes; ++plane )
    {
        const auto reportShare = [&]( double inShare ) { inProgress( ( plane + inShare ) / planes ); };
        if ( TIFFIsTiled( itsTIFF ) )
            DecodeTiles( plane, inSource, reportShare, ioPage );
        else
            DecodeStrips( plane, inSource.stored, reportShare, ioPage );
    }
}

void WTIFFDecoder::Implementation::DecodeStrips(
    std::uint16_t inPlane, const WTIFFSamples& inStored, const WImageFile::Progress& inProgress,
    WImagePage& ioPage )
{
    const auto rowsPerStrip = std::min( GetField<std::uint32_t>( TIFFTAG_ROWSPERSTRIP ), ioPage.height );
    const auto rowSize = static_cast<std::uint64_t>( TIFFScanlineSize64( itsTIFF ) );
    const auto samples = std::uint64_t{ ioPage.width } * ( IsSeparate() ? 1 : ioPage.channels );
    Check( rowsPerStrip > 0 && rowSize == inStored.GetRowSize( samples ) );
    // A strip may be the whole page: an abort must not wait for it, nor need its size in memory.
    if ( rowSize * rowsPerStrip > kMostAtOnce )
        return DecodeRows( inPlane, inStored, inProgress, ioPage );

    const auto block = std::make_unique_for_overwrite<std::byte[]>( rowSize * rowsPerStrip );
    for ( std::uint64_t top = 0; top < ioPage.height; top += rowsPerStrip )
    {
        const auto row = static_cast<std::uint32_t>( top );
        const auto rows = std::min( rowsPerStrip, ioPage.height - row );
        const auto size = static_cast<tmsize_t>( rowSize * rows );
        const auto strip = TIFFComputeStrip( itsTIFF, row, inPlane );
        inProgress( static_cast<double>( row ) / ioPage.height );
        Check( TIFFReadEncodedStrip( itsTIFF, strip, block.get(), size ) == size );
        inStored.CopyBlock( { block.get(), 0, row, ioPage.width, rows }, GetChannel( inPlane ), ioPage );
    }
}

/// Slower than whole strips, but the reading can be given up within one.
void WTIFFDecoder::Implementation::DecodeRows(
    std::uint16_t inPlane, const WTIFFSamples& inStored, const WImageFile::Progress& inProgress,
    WImagePage& ioPage )
{
    const auto size = static_cast<std::size_t>( TIFFScanlineSize64( itsTIFF ) );
    const auto line = std::make_unique_for_overwrite<std::byte[]>( size );
    for ( std::uint32_t row = 0; row < ioPage.height; ++row )
    {
        inProgress( static_cast<double>( row ) / ioPage.height );
        Check( TIFFReadScanline( itsTIFF, line.get(), row, inPlane ) == 1 );
        inStored.CopyBlock( { line.get(), 0, row, ioPage.width, 1 }, GetChannel( inPlane ), ioPage );
    }
}

void WTIFFDecoder::Implementation::DecodeTiles(
    std::uint16_t inPlane, const Source& inSource, const WImageFile::Progress& inProgress,
    WImagePage& ioPage )
{
    const auto width = GetField<std::uint32_t>( TIFFTAG_TILEWIDTH );
    const auto height = GetField<std::uint32_t>( TIFFTAG_TILELENGTH );
    const auto size = TIFFTileSize( itsTIFF );
    const auto samples = std::uint64_t{ width } * ( IsSeparate() ? 1 : ioPage.channels );
    const auto rowSize = inSource.stored.GetRowSize( samples );
    Check( rowSize > 0 && height > 0 && static_cast<std::uint64_t>( size ) / rowSize == height );
    // A tile larger than the file could ever unpack to is forged.
    Check( static_cast<std::uint64_t>( size ) <= inSource.mostBytes );

    const auto block = std::make_unique_for_overwrite<std::byte[]>( static_cast<std::size_t>( size ) );
    for ( std::uint64_t top = 0; top < ioPage.height; top += height )
        for ( std::uint64_t left = 0; left < ioPage.width; left += width )
        {
            inProgress( static_cast<double>( top ) / ioPage.height );
            const auto x = static_cast<std::uint32_t>( left );
            const auto y = static_cast<std::uint32_t>( top );
            const auto tile = TIFFComputeTile( itsTIFF, x, y, 0, inPlane );
            Check( TIFFReadEncodedTile( itsTIFF, tile, block.get(), size ) == size );
            inSource.stored.CopyBlock( { block.get(), x, y, width, height }, GetChannel( inPlane ), ioPage );
        }
}

/// For LZW of noisy images it takes three quarters of the time of WLZWUnpacker, and it supports the LZW form
/// used before 1992. For deflate it takes half the time of WDeflateUnpacker, but it does not verify the
/// checksum.
bool WTIFFDecoder::IsBetterAt( std::uint64_t inCompression )
{
    return inCompression == COMPRESSION_LZW;
}

WTIFFDecoder::WTIFFDecoder( const std::filesystem::path& inPath )
    : itsImplementation( std::make_unique<Implementation>( inPath ) )
{
}

WTIFFDecoder::~WTIFFDecoder() = default;

void WTIFFDecoder::Decode(
    const Source& inSource, const WImageFile::Progress& inProgress, WImagePage& ioPage )
{
    const auto compression = inSource.compression;
    if ( compression > UINT16_MAX || !TIFFIsCODECConfigured( static_cast<std::uint16_t>( compression ) ) )
        throw WImageError(
            "its samples are compressed by " + GetCompressionName( compression ) + ", which cannot be read" );
    itsImplementation->Decode( inSource, inProgress, ioPage );
}
