#include "WTIFFFile.h"

#include <algorithm>
#include <bit>

using Tags = WTIFFDirectory;

namespace
{
constexpr std::uint64_t kNotCompressed = 1, kLZW = 5, kDeflate = 8, kOldDeflate = 32946, kPackBits = 32773;
constexpr std::uint64_t kYCbCr = 6;
constexpr std::uint64_t kSeparatePlanes = 2;
constexpr std::uint64_t kUnsigned = 1, kFloat = 3, kUndefined = 4;
constexpr std::uint64_t kNoUnit = 1, kCentimetre = 3;

/// How many bytes one byte of a file may become at most.
std::uint64_t GetLargestRatio( std::uint64_t inCompression )
{
    switch ( inCompression )
    {
    case kNotCompressed:
        return 1;
    case kPackBits:
        return 64;
    case kLZW:
        return 4096;
    case kDeflate:
    case kOldDeflate:
        return 1033;
    default:
        return 65536;
    }
}

bool IsPlain( const Tags& inTags )
{
    return inTags.GetNumber( Tags::kCompression, kNotCompressed ) == kNotCompressed &&
        inTags.GetNumber( Tags::kFillOrder, 1 ) == 1 && inTags.GetNumber( Tags::kPhotometric, 1 ) != kYCbCr;
}

/// The value, where all samples of a pixel have the same one.
std::uint64_t GetCommonNumber( const Tags& inTags, Tags::Tag inTag, std::uint64_t inDefault )
{
    const auto numbers = inTags.GetNumbers( inTag );
    if ( numbers.empty() )
        return inDefault;
    if ( std::ranges::any_of( numbers, [&]( auto inNumber ) { return inNumber != numbers.front(); } ) )
        throw WImageError( "the samples of its pixels differ in type" );
    return numbers.front();
}

WImagePage::SampleType GetSampleType( const Tags& inTags )
{
    const auto bits = GetCommonNumber( inTags, Tags::kBitsPerSample, 1 );
    const auto format = GetCommonNumber( inTags, Tags::kSampleFormat, kUnsigned );
    const auto isWhole = format == kUnsigned || format == kUndefined;
    if ( isWhole && bits == 8 )
        return WImagePage::kUInt8;
    if ( isWhole && bits == 16 )
        return WImagePage::kUInt16;
    if ( format == kFloat && bits == 32 )
        return WImagePage::kFloat32;
    throw WImageError(
        "its samples are neither 8- or 16-bit unsigned nor 32-bit float (they have " +
        std::to_string( bits ) + " bits)" );
}

std::uint32_t GetExtent( const Tags& inTags, Tags::Tag inTag, std::uint64_t inDefault )
{
    const auto extent = inTags.GetNumber( inTag, inDefault );
    return static_cast<std::uint32_t>( std::min<std::uint64_t>( extent, UINT32_MAX ) );
}

void ReadResolution( const Tags& inTags, WImagePage& outPage )
{
    const auto unit = inTags.GetNumber( Tags::kResolutionUnit, 2 );
    const auto x = inTags.GetFraction( Tags::kXResolution );
    const auto y = inTags.GetFraction( Tags::kYResolution );
    if ( unit == kNoUnit || !( x > 0 && y > 0 ) )
        return;
    const double micrometres = unit == kCentimetre ? 1e4 : 25400;
    outPage.pixelWidth = micrometres / x;
    outPage.pixelHeight = micrometres / y;
}

template<class T>
void SwapAll( WImagePage& ioPage )
{
    auto* samples = ioPage.GetSamples<T>();
    const auto count = ioPage.GetByteCount() / sizeof( T );
    for ( std::uint64_t i = 0; i < count; ++i )
    {
        auto value = samples[i];
        T swapped = 0;
        for ( std::size_t b = 0; b < sizeof( T ); ++b, value = static_cast<T>( value >> 8 ) )
            swapped = static_cast<T>( swapped << 8 | ( value & 0xFF ) );
        samples[i] = swapped;
    }
}

std::uint64_t DivideUp( std::uint64_t inNumber, std::uint64_t inDivisor )
{
    return ( inNumber + inDivisor - 1 ) / inDivisor;
}
} // namespace

/// How the samples of a page lie in the file: in blocks, which are strips or tiles, plane after plane where the planes
/// are separate.
struct WTIFFFile::Grid
{
    bool isTiled;
    std::uint32_t channels; ///< In a block.
    std::uint64_t width;    ///< Of a block, in pixels.
    std::uint64_t height;
    std::uint64_t across;
    std::uint64_t blocksOfPlane;
    std::uint64_t planes;
    std::vector<std::uint64_t> offsets;
    std::vector<std::uint64_t> sizes;

    Grid( const WTIFFDirectory& inTags, const WImagePage& inPage );

    std::uint64_t GetRowSize( const WImagePage& inPage ) const
    {
        return width * channels * inPage.GetSampleSize();
    }
};

WTIFFFile::Grid::Grid( const WTIFFDirectory& inTags, const WImagePage& inPage )
{
    const auto isSeparate = inTags.GetNumber( Tags::kPlanarConfiguration, 1 ) == kSeparatePlanes;
    isTiled = inTags.Has( Tags::kTileOffsets );
    channels = isSeparate ? 1 : inPage.channels;
    planes = isSeparate ? inPage.channels : 1;
    width = isTiled ? GetExtent( inTags, Tags::kTileWidth, 0 ) : inPage.width;
    height = isTiled ? GetExtent( inTags, Tags::kTileHeight, 0 )
                     : std::min( GetExtent( inTags, Tags::kRowsPerStrip, UINT32_MAX ), inPage.height );
    offsets = inTags.GetNumbers( isTiled ? Tags::kTileOffsets : Tags::kStripOffsets );
    sizes = inTags.GetNumbers( isTiled ? Tags::kTileSizes : Tags::kStripSizes );
    if ( width == 0 || height == 0 )
        throw WImageError( "its strips or tiles have no size" );

    across = DivideUp( inPage.width, width );
    blocksOfPlane = across * DivideUp( inPage.height, height );
    if ( offsets.size() < blocksOfPlane * planes || ( !sizes.empty() && sizes.size() < offsets.size() ) )
        throw WImageError( "some of its strips or tiles are not listed" );
}

WTIFFFile::WTIFFFile( const std::filesystem::path& inPath )
    : itsPath( inPath ), itsFile( inPath, WFile::kRead ), itsHeader( WTIFFHeader::Read( itsFile ) )
{
    // The directories of a sound file do not overlap: together they are no longer than the file.
    std::uint64_t size = 0;
    for ( auto offset = itsHeader.firstDirectory; offset != 0; )
    {
        const WTIFFDirectory directory( itsFile, itsHeader, offset );
        itsPages.push_back( offset );
        offset = directory.GetNextOffset();
        size += directory.GetSize();
        if ( size > itsFile.GetSize() )
            throw WImageError( "its list of pages runs in a circle" );
    }
    if ( itsPages.empty() )
        throw WImageError( "it holds no pages" );
}

WImagePage WTIFFFile::ReadPageSelf(
    std::uint32_t inPage, const Progress& inProgress, const WImagePage::Allocator& inAllocator )
{
    const WTIFFDirectory tags( itsFile, itsHeader, itsPages.at( inPage ) );
    auto page = MakePage( tags, inAllocator );
    if ( IsPlain( tags ) )
    {
        ReadPlain( tags, inProgress, page );
        return page;
    }
    if ( !itsDecoder )
        itsDecoder.emplace( itsPath );
    itsDecoder->Decode( inPage, tags.GetOffset(), GetMostBytes( tags ), inProgress, page );
    return page;
}

/// What the whole file could become if it were one page.
std::uint64_t WTIFFFile::GetMostBytes( const WTIFFDirectory& inTags ) const
{
    const auto ratio = GetLargestRatio( inTags.GetNumber( Tags::kCompression, kNotCompressed ) );
    return std::min( itsFile.GetSize(), UINT64_MAX / ratio ) * ratio;
}

/// With room for its samples.
WImagePage WTIFFFile::MakePage( const WTIFFDirectory& inTags, const WImagePage::Allocator& inAllocator ) const
{
    WImagePage page;
    page.width = GetExtent( inTags, Tags::kWidth, 0 );
    page.height = GetExtent( inTags, Tags::kHeight, 0 );
    page.channels = static_cast<std::uint16_t>( inTags.GetNumber( Tags::kSamplesPerPixel, 1 ) );
    page.type = GetSampleType( inTags );
    ReadResolution( inTags, page );
    page.Allocate( GetMostBytes( inTags ), inAllocator );
    return page;
}

void WTIFFFile::ReadPlain(
    const WTIFFDirectory& inTags, const Progress& inProgress, WImagePage& outPage ) const
{
    const Grid grid( inTags, outPage );
    const auto blocks = grid.blocksOfPlane * grid.planes;
    for ( std::uint64_t block = 0; block < blocks; ++block )
    {
        const auto tellShare = [&]( double inShare )
        { inProgress( ( static_cast<double>( block ) + inShare ) / static_cast<double>( blocks ) ); };
        ReadBlock( grid, block, tellShare, outPage );
    }

    if ( itsHeader.isSwapped && outPage.type == WImagePage::kUInt16 )
        SwapAll<std::uint16_t>( outPage );
    if ( itsHeader.isSwapped && outPage.type == WImagePage::kFloat32 )
        SwapAll<std::uint32_t>( outPage );
}

void WTIFFFile::ReadBlock(
    const Grid& inGrid, std::uint64_t inBlock, const Progress& inProgress, WImagePage& outPage ) const
{
    const auto inPlane = inBlock % inGrid.blocksOfPlane;
    const auto left = inPlane % inGrid.across * inGrid.width;
    const auto top = inPlane / inGrid.across * inGrid.height;
    const auto rows = std::min( inGrid.height, outPage.height - top );
    const auto storedRows = inGrid.isTiled ? inGrid.height : rows;
    const auto rowSize = inGrid.GetRowSize( outPage );

    const auto stored = inGrid.sizes.empty() ? itsFile.GetSize() : inGrid.sizes[inBlock];
    if ( rowSize > stored / storedRows )
        throw WImageError( "one of its strips or tiles is too short" );
    auto* const target = outPage.samples.get() + top * outPage.GetRowSize();
    if ( rowSize == outPage.GetRowSize() )
        return ReadExactly( inGrid.offsets[inBlock], target, rows * rowSize, inProgress );

    const auto block = std::make_unique_for_overwrite<std::byte[]>( rows * rowSize );
    ReadExactly( inGrid.offsets[inBlock], block.get(), rows * rowSize, inProgress );

    const auto channel = static_cast<std::uint32_t>( inBlock / inGrid.blocksOfPlane );
    outPage.CopyBlock(
        block.get(), static_cast<std::uint32_t>( inGrid.width ), static_cast<std::uint32_t>( rows ),
        static_cast<std::uint32_t>( left ), static_cast<std::uint32_t>( top ), inGrid.planes > 1, channel );
}

void WTIFFFile::ReadExactly(
    std::uint64_t inPosition, std::byte* outBytes, std::uint64_t inCount, const Progress& inProgress ) const
{
    constexpr std::uint64_t kPiece = 4 * 1024 * 1024;
    const auto size = itsFile.GetSize();
    const auto refuse = [&]
    {
        throw WImageError(
            "it is cut off: " + std::to_string( inCount ) + " bytes of samples are missing at offset " +
            std::to_string( inPosition ) );
    };
    if ( inPosition > size || inCount > size - inPosition )
        refuse();
    for ( std::uint64_t done = 0; done < inCount; )
    {
        inProgress( static_cast<double>( done ) / static_cast<double>( inCount ) );
        const auto piece = std::min( kPiece, inCount - done );
        if ( itsFile.ReadAt( inPosition + done, outBytes + done, piece ) != piece )
            refuse();
        done += piece;
    }
}
