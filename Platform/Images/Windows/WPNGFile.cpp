#include "Files/WFile.h"
#include "Images/Windows/WImagingComponent.h"

#include <limits>
#include <string>
#include <string_view>

namespace
{
// Bits of the colour type.
constexpr std::uint8_t kPaletteBit = 1;
constexpr std::uint8_t kColourBit = 2; // grey images lack it
constexpr std::uint8_t kAlpha = 4;

/// Fields that the component does not report as stored: the format of the samples and whether there is a
/// resolution.
struct Header
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint8_t bits = 0;
    std::uint8_t colourType = 0;
    std::uint32_t pixelsPerMetreX = 0;
    std::uint32_t pixelsPerMetreY = 0;
    bool isComplete = false;

    std::uint32_t GetBitsPerPixel() const
    {
        const auto samples = ( colourType & kColourBit && !( colourType & kPaletteBit ) ? 3u : 1u ) +
            ( colourType & kAlpha ? 1u : 0u );
        return bits * samples;
    }
};

std::uint32_t GetWord32( std::string_view inBytes, std::size_t inStart )
{
    std::uint32_t number = 0;
    for ( const auto byte : inBytes.substr( inStart, 4 ) )
        number = number << 8 | static_cast<std::uint8_t>( byte );
    return number;
}

void TakeChunk( std::string_view inName, std::string_view inData, Header& outHeader )
{
    if ( inName == "IHDR" && inData.size() >= 13 )
    {
        outHeader.width = GetWord32( inData, 0 );
        outHeader.height = GetWord32( inData, 4 );
        outHeader.bits = static_cast<std::uint8_t>( inData[8] );
        outHeader.colourType = static_cast<std::uint8_t>( inData[9] );
    }
    if ( inName == "pHYs" && inData.size() >= 9 && inData[8] == 1 )
    {
        outHeader.pixelsPerMetreX = GetWord32( inData, 0 );
        outHeader.pixelsPerMetreY = GetWord32( inData, 4 );
    }
    if ( inName == "IEND" )
        outHeader.isComplete = true;
}

/// Walks the chunks, of which only the first bytes matter here.
Header ReadHeader( const WFile& inFile )
{
    Header header;
    char bytes[8 + 13];
    for ( std::uint64_t position = 8; !header.isComplete; )
    {
        const std::string_view chunk( bytes, inFile.ReadAt( position, bytes, sizeof( bytes ) ) );
        if ( chunk.size() < 8 )
            throw WImageError( "it is damaged: it is cut off" );
        const std::uint64_t size = GetWord32( chunk, 0 );
        if ( position + size + 12 > inFile.GetSize() )
            throw WImageError( "it is damaged: it is cut off" );
        TakeChunk( chunk.substr( 4, 4 ), chunk.substr( 8, size ), header );
        position += size + 12;
    }
    return header;
}

class PNGFile : public WImageFile
{
public:
    explicit PNGFile( const std::filesystem::path& inPath ) : itsPath( inPath ) {}
    Layout GetLayout( std::uint32_t ) const override
    {
        return ReadPNGLayout( WFile( itsPath, WFile::kRead ) );
    }
    std::string GetFormatName() const override { return "PNG"; }

    WImagePage ReadPageSelf(
        std::uint32_t, const Progress& inProgress, const WImagePage::Allocator& inAllocator ) override
    {
        const WFile file( itsPath, WFile::kRead );
        const auto header = ReadHeader( file );
        CheckPNGSize( file.GetSize(), header.width, header.height, header.GetBitsPerPixel() );

        WImagePage page;
        page.width = header.width;
        page.height = header.height;
        page.channels = header.colourType & kColourBit ? 3 : 1;
        page.type = header.bits == 16 ? WImagePage::kUInt16 : WImagePage::kUInt8;
        if ( header.pixelsPerMetreX > 0 && header.pixelsPerMetreY > 0 )
        {
            page.pixelWidth = 1e6 / header.pixelsPerMetreX;
            page.pixelHeight = 1e6 / header.pixelsPerMetreY;
        }
        page.Allocate( std::numeric_limits<std::uint64_t>::max(), inAllocator );
        WImagingComponent( itsPath ).CopyFrame( inProgress, page );
        return page;
    }

private:
    std::filesystem::path itsPath;
};
} // namespace

std::unique_ptr<WImageFile> WImageFile::OpenPNG( const std::filesystem::path& inPath )
{
    return std::make_unique<PNGFile>( inPath );
}
