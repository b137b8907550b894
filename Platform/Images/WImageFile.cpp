#include "Images/WImageFile.h"

#include "Files/WFile.h"
#include "Images/WTIFFFile.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>

// The kind of a file is decided by its first bytes, not by its name. Sizes that a file claims are checked
// against its length before memory is taken for them: a damaged or malicious file must not make the program
// allocate more than its contents can fill at the best compression.

using namespace std::string_view_literals;

namespace
{
std::string ReadSignature( const std::filesystem::path& inPath )
{
    std::error_code error; // Where there is no such file, opening it says so.
    const auto status = std::filesystem::status( inPath, error );
    // Opening a pipe would wait for a writer.
    if ( std::filesystem::is_fifo( status ) || std::filesystem::is_socket( status ) ||
         std::filesystem::is_character_file( status ) )
        throw WImageError(
            "it is a pipe or device, not a file: an image is read in any order (expected a TIFF or PNG file)" );
    char bytes[8];
    const WFile file( inPath, WFile::kRead );
    return std::string( bytes, file.ReadAt( 0, bytes, sizeof( bytes ) ) );
}

std::uint32_t GetPNGNumber( std::string_view inBytes, std::size_t inStart )
{
    std::uint32_t number = 0;
    for ( const auto byte : inBytes.substr( inStart, 4 ) )
        number = number << 8 | static_cast<unsigned char>( byte );
    return number;
}

/// The contents of a header chunk as the reader returns them: without transparency, at least 8 bits.
void SetPNGFormat( std::string_view inHeader, WImageFile::Layout& outLayout )
{
    constexpr unsigned char kColourBit = 2;
    outLayout.width = GetPNGNumber( inHeader, 0 );
    outLayout.height = GetPNGNumber( inHeader, 4 );
    outLayout.channels = static_cast<unsigned char>( inHeader[9] ) & kColourBit ? 3 : 1;
    outLayout.samplesPerPixel = outLayout.channels;
    outLayout.sampleType = std::to_string( static_cast<unsigned char>( inHeader[8] ) ) + "-bit unsigned";
}

bool IsTIFF( std::string_view inSignature )
{
    for ( const auto mark : { "II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv } )
        if ( inSignature.starts_with( mark ) )
            return true;
    return false;
}

bool IsPNG( std::string_view inSignature )
{
    return inSignature.starts_with( "\x89PNG\r\n\x1A\n"sv );
}
} // namespace

bool WImageFormat::HasSameLayout( const WImageFormat& inOther ) const
{
    return width == inOther.width && height == inOther.height && channels == inOther.channels &&
        type == inOther.type;
}

WImagePage::Samples WImagePage::AllocateFromHeap( std::uint64_t inBytes )
{
    auto bytes = std::make_unique_for_overwrite<std::byte[]>( inBytes );
    return Samples( bytes.release(), std::default_delete<std::byte[]>() );
}

void WImagePage::Allocate( std::uint64_t inMostBytes, const Allocator& inAllocator )
{
    if ( width == 0 || height == 0 || channels == 0 )
        throw WImageError( "it has a page without pixels" );

    const auto size = std::to_string( width ) + " x " + std::to_string( height ) + " pixels";
    const auto pixels = std::uint64_t{ width } * height;
    if ( pixels > std::numeric_limits<std::uint32_t>::max() )
        throw WImageError( "a page of " + size + " is too large" );
    // Divided, as the product of the claims might overflow.
    if ( pixels > inMostBytes / GetSampleSize() / channels )
        throw WImageError( "a page of " + size + " is impossible in a file of this size" );
    samples = inAllocator( GetByteCount() );
}

void WImagePage::Invert()
{
    const auto count = GetByteCount();
    for ( std::uint64_t i = 0; i < count; ++i )
        samples[i] = ~samples[i];
}

void WImagePage::CopyBlock( const Block& inBlock, std::optional<std::uint32_t> inChannel )
{
    const std::size_t pixelSize = std::size_t{ channels } * GetSampleSize();
    const std::size_t pieceSize = inChannel ? GetSampleSize() : pixelSize;
    const auto columns = std::min( inBlock.width, width - inBlock.left );
    const auto rows = std::min( inBlock.height, height - inBlock.top );
    for ( std::uint32_t y = 0; y < rows; ++y )
    {
        const auto* from = inBlock.samples + std::size_t{ y } * inBlock.width * pieceSize;
        auto* to =
            samples.get() + ( std::size_t{ inBlock.top } + y ) * GetRowSize() + inBlock.left * pixelSize;
        if ( !inChannel )
        {
            std::memcpy( to, from, columns * pixelSize );
            continue;
        }
        to += *inChannel * pieceSize;
        for ( std::uint32_t x = 0; x < columns; ++x, from += pieceSize, to += pixelSize )
            std::memcpy( to, from, pieceSize );
    }
}

bool WImageFile::MayBeImage( const std::filesystem::path& inPath )
{
    try
    {
        const auto signature = ReadSignature( inPath );
        return IsTIFF( signature ) || IsPNG( signature );
    }
    catch ( ... ) // The error is reported when the file is opened.
    {
        return true;
    }
}

std::unique_ptr<WImageFile> WImageFile::Open( const std::filesystem::path& inPath )
{
    const auto signature = ReadSignature( inPath );
    if ( IsTIFF( signature ) )
        return std::make_unique<WTIFFFile>( inPath );
    if ( IsPNG( signature ) )
        return OpenPNG( inPath );
    throw WImageError( "it is neither a TIFF nor a PNG file" );
}

WImagePage WImageFile::ReadPage(
    std::uint32_t inPage, const Progress& inProgress, const WImagePage::Allocator& inAllocator )
{
    return ReadPageSelf( inPage, inProgress, inAllocator );
}

void WImageFile::CheckPNGSize(
    std::uint64_t inFileSize, std::uint32_t inWidth, std::uint32_t inHeight, std::uint32_t inBitsPerPixel )
{
    constexpr std::uint64_t kLargestRatio = 1033; // Deflate packs 1032 bytes into one at best.
    constexpr std::uint64_t kMostRowBytes = 64 * 1024 * 1024;
    constexpr std::uint64_t kLargestPixel = 8; // Bytes in memory, whatever it has in the file.
    const auto size = std::to_string( inWidth ) + " x " + std::to_string( inHeight ) + " pixels";
    const auto rowBytes = ( std::uint64_t{ inWidth } * inBitsPerPixel + 7 ) / 8;
    const auto mostBytes = std::min( inFileSize, UINT64_MAX / kLargestRatio ) * kLargestRatio;
    if ( rowBytes != 0 && inHeight > mostBytes / rowBytes )
        throw WImageError( "a page of " + size + " is impossible in a file of this size" );
    if ( inWidth > kMostRowBytes / kLargestPixel )
        throw WImageError(
            "a page of " + size + " has too long rows (at most " +
            std::to_string( kMostRowBytes / kLargestPixel ) + " pixels)" );
}

WImageFile::Layout WImageFile::ReadPNGLayout( const WFile& inFile )
{
    Layout layout;
    char bytes[8 + 13];
    for ( std::uint64_t position = 8;; )
    {
        const std::string_view chunk( bytes, inFile.ReadAt( position, bytes, sizeof( bytes ) ) );
        if ( chunk.size() < sizeof( bytes ) )
            return layout;
        const auto size = GetPNGNumber( chunk, 0 );
        const auto name = chunk.substr( 4, 4 ), data = chunk.substr( 8 );
        if ( name == "IDAT" || name == "IEND" )
            return layout;
        if ( name == "IHDR" )
            SetPNGFormat( data, layout );
        const auto x = GetPNGNumber( data, 0 ), y = GetPNGNumber( data, 4 );
        if ( name == "pHYs" && size == 9 && data[8] == 1 && x > 0 && y > 0 )
        {
            layout.pixelWidth = 1e6 / x;
            layout.pixelHeight = 1e6 / y;
        }
        position += std::uint64_t{ size } + 12;
    }
}
