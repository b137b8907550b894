#include "Images/WTIFFFile.h"

#include "Images/WTIFFBlockReader.h"

#include <algorithm>
#include <cstring>

// Opening a file walks its directories, which form a linked list, and notes where the pages are; nothing else
// is read. A list that leads back into itself is recognised by the total size of its directories, which an
// intact file exceeds in no case, so no set of visited offsets is needed.
//
// Sizes in a file are claims. Before memory is allocated for a page, its size is compared with what the whole
// file could contain if it were one page, compressed as well as its compression permits (GetMostBytes).
// Tiles, which need memory beside the page, have a limit of their own.
//
// Samples are returned as brightness: images whose white is 0 are inverted, palettes are applied; other
// interpretations are rejected with their number.

using Tags = WTIFFDirectory;

namespace
{
constexpr std::uint64_t kJPEG = 7; // Compression.
constexpr std::uint64_t kWhiteIsZero = 0, kBlackIsZero = 1, kRGB = 2, kPalette = 3, kYCbCr = 6;
constexpr std::uint64_t kNoUnit = 1, kInch = 2, kCentimetre = 3;
constexpr std::uint64_t kReducedResolution = 1, kMask = 4; // Bits of kSubfileType.
constexpr std::uint64_t kOldReducedResolution = 2;
constexpr std::uint64_t kMostDescription = 64 * 1024 * 1024;

/// How many bytes one byte of a file may become at most.
std::uint64_t GetLargestRatio( std::uint64_t inCompression )
{
    switch ( inCompression )
    {
    case WTIFFUnpacker::kNone:
        return 1;
    case WTIFFUnpacker::kPackBits:
        return 64;
    case WTIFFUnpacker::kLZW:
        return 4096;
    case WTIFFUnpacker::kDeflate:
    case WTIFFUnpacker::kOldDeflate:
        return 1033;
    default:
        return 65536;
    }
}

std::uint64_t GetPhotometric( const Tags& inTags )
{
    return inTags.GetNumber( Tags::kPhotometric, kBlackIsZero );
}

/// True for auxiliary pages: smaller copies and masks.
bool IsAuxiliary( const Tags& inTags )
{
    return ( inTags.GetNumber( Tags::kSubfileType, 0 ) & ( kReducedResolution | kMask ) ) != 0 ||
        inTags.GetNumber( Tags::kOldSubfileType, 0 ) == kOldReducedResolution;
}

/// True where the samples lie in the file as they are.
bool IsPlain( const Tags& inTags )
{
    return WTIFFUnpacker::GetCompression( inTags ) == WTIFFUnpacker::kNone && !inTags.IsLowestBitFirst();
}

/// Throws for samples that are not brightness and cannot be converted to it.
void CheckColours( const Tags& inTags, const WTIFFSamples& inStored, const WImageFormat& inFormat )
{
    const auto photometric = GetPhotometric( inTags );
    switch ( photometric )
    {
    case kBlackIsZero:
    case kRGB:
        return;
    case kYCbCr:
        if ( WTIFFUnpacker::GetCompression( inTags ) != kJPEG )
            throw WImageError( "its colours are YCbCr (supported only with JPEG compression)" );
        if ( inTags.HasSeparatePlanes() )
            throw WImageError( "its colours are YCbCr in separate planes (expected interleaved samples)" );
        return;
    case kWhiteIsZero:
        if ( inFormat.channels > 1 || !inStored.IsUnsigned() )
            throw WImageError( "white is 0 (supported only for one unsigned sample per pixel)" );
        return;
    case kPalette:
        if ( inFormat.channels > 1 || !inStored.IsUnsigned() || inStored.GetBits() > 16 )
            throw WImageError(
                "unsupported palette (expected one unsigned index of at most 16 bits per pixel)" );
        return;
    default:
        throw WImageError(
            "unsupported photometric interpretation " + std::to_string( photometric ) +
            " (expected grey, RGB, YCbCr or palette)" );
    }
}

/// Sets the resolution of a layout.
void ReadResolution( const Tags& inTags, WImageFile::Layout& outLayout )
{
    const auto unit = inTags.GetNumber( Tags::kResolutionUnit, kInch );
    const auto x = inTags.GetFraction( Tags::kXResolution );
    const auto y = inTags.GetFraction( Tags::kYResolution );
    if ( !( x > 0 && y > 0 ) )
        return;
    if ( unit == kNoUnit )
    {
        outLayout.unitsPerPixelX = 1 / x;
        outLayout.unitsPerPixelY = 1 / y;
    }
    if ( unit != kInch && unit != kCentimetre )
        return;
    const double micrometres = unit == kCentimetre ? 1e4 : 25400;
    outLayout.pixelWidth = micrometres / x;
    outLayout.pixelHeight = micrometres / y;
}

/// Refuses a page of several planes that have no directories of their own, for only the first would be read.
void CheckPlaneCount( const Tags& inTags )
{
    const auto planes =
        std::max( inTags.GetNumber( Tags::kDepth, 1 ), inTags.GetCount( Tags::kStackPlanes ) );
    if ( planes > 1 )
        throw WImageError(
            "it has " + std::to_string( planes ) + " planes, of which only the first could be read" );
}

void CheckPlanarConfiguration( const Tags& inTags )
{
    const auto configuration = inTags.GetNumber( Tags::kPlanarConfiguration, 1 );
    if ( configuration != 1 && configuration != 2 )
        throw WImageError(
            "its planar configuration is " + std::to_string( configuration ) + " (expected 1 or 2)" );
}

/// The form of a page whose samples are stored like that.
WImagePage MakePage( const Tags& inTags, const WTIFFSamples& inStored )
{
    const auto samplesPerPixel = inTags.GetNumber( Tags::kSamplesPerPixel, 1 );
    if ( samplesPerPixel > UINT16_MAX )
        throw WImageError(
            "its pixels have " + std::to_string( samplesPerPixel ) + " samples (at most 65535)" );
    CheckPlaneCount( inTags );
    CheckPlanarConfiguration( inTags );
    WImagePage page;
    page.width = inTags.GetExtent( Tags::kWidth, 0 );
    page.height = inTags.GetExtent( Tags::kHeight, 0 );
    page.channels = static_cast<std::uint32_t>( samplesPerPixel );
    page.type = inStored.GetPageType();
    CheckColours( inTags, inStored, page );
    WImageFile::Layout layout;
    ReadResolution( inTags, layout );
    page.pixelWidth = layout.pixelWidth;
    page.pixelHeight = layout.pixelHeight;
    return page;
}

/// Replaces the indices, which lie at the end of the samples, by the colours of a palette. Front to back, no index is
/// overwritten before it is read.
template<class TIndex, class T>
void ApplyPalette( const std::vector<std::uint64_t>& inColours, int inShift, WImagePage& ioPage )
{
    const auto pixels = std::uint64_t{ ioPage.width } * ioPage.height;
    const auto* const indices = ioPage.samples.get() + ioPage.GetByteCount() - pixels * sizeof( TIndex );
    const auto colours = inColours.size() / ioPage.channels;
    auto* samples = ioPage.GetSamples<T>();
    for ( std::uint64_t i = 0; i < pixels; ++i )
    {
        TIndex index;
        std::memcpy( &index, indices + i * sizeof( index ), sizeof( index ) );
        for ( std::uint64_t channel = 0; channel < ioPage.channels; ++channel )
            *samples++ = static_cast<T>( inColours[channel * colours + index] >> inShift );
    }
}

/// Refuses tiles that are much larger than their page: each takes memory beside it.
void CheckTileSize( const Tags& inTags, const WTIFFSamples& inStored, const WImageFormat& inFormat )
{
    constexpr std::uint64_t kAlwaysAllowed = 64 * 1024 * 1024;
    if ( !inTags.Has( Tags::kTileOffsets ) )
        return;
    const std::uint64_t width = inTags.GetExtent( Tags::kTileWidth, 0 );
    const std::uint64_t height = inTags.GetExtent( Tags::kTileHeight, 0 );
    const std::uint64_t channels = inTags.HasSeparatePlanes() ? 1 : inFormat.channels;
    const auto most = std::max( kAlwaysAllowed, 2 * inFormat.GetByteCount() );
    if ( width != 0 && height > most / inStored.GetRowSize( width * channels ) )
        throw WImageError(
            "its tiles of " + std::to_string( width ) + " x " + std::to_string( height ) +
            " pixels are much larger than the page" );
}
} // namespace

WTIFFFile::WTIFFFile( const std::filesystem::path& inPath )
    : itsPath( inPath ), itsFile( inPath, WFile::kRead ), itsHeader( WTIFFHeader::Read( itsFile ) )
{
    // The directories of an intact file do not overlap: together they are not longer than the file.
    std::uint64_t size = 0;
    std::uint32_t index = 0;
    for ( auto offset = itsHeader.firstDirectory; offset != 0; )
    {
        const WTIFFDirectory directory( itsFile, itsHeader, offset );
        if ( IsAuxiliary( directory ) )
            ++itsSkippedCount;
        else
        {
            if ( itsPages.empty() )
                itsFirstPage.emplace( directory );
            itsPages.push_back( offset );
            itsIndices.push_back( index );
        }
        ++index;
        offset = directory.GetNextOffset();
        size += directory.GetSize();
        if ( size > itsFile.GetSize() )
            throw WImageError( "its page directory is cyclic" );
    }
    if ( itsSkippedCount == 0 )
        itsIndices = {};
    if ( itsPages.empty() && itsSkippedCount > 0 )
        throw WImageError( "it has only masks and pages of reduced resolution" );
    if ( itsPages.empty() )
        throw WImageError( "it has no pages" );
}

std::uint32_t WTIFFFile::GetDirectoryIndex( std::uint32_t inPage ) const
{
    return itsIndices.empty() ? inPage : itsIndices.at( inPage );
}

WTIFFDirectory WTIFFFile::GetDirectory( std::uint32_t inPage ) const
{
    return inPage == 0 ? *itsFirstPage : WTIFFDirectory( itsFile, itsHeader, itsPages.at( inPage ) );
}

WImageFile::Layout WTIFFFile::GetLayout( std::uint32_t inPage ) const
{
    const auto tags = GetDirectory( inPage );
    Layout layout;
    layout.width = tags.GetExtent( Tags::kWidth, 0 );
    layout.height = tags.GetExtent( Tags::kHeight, 0 );
    layout.samplesPerPixel = tags.GetNumber( Tags::kSamplesPerPixel, 1 );
    layout.channels = GetPhotometric( tags ) == kPalette ? 3 : layout.samplesPerPixel;
    layout.sampleType = WTIFFSamples::Describe( tags );
    ReadResolution( tags, layout );
    const auto first = tags.GetNumber( Tags::kStripOffsets, 0 );
    const auto bytes = static_cast<double>( layout.width ) * static_cast<double>( layout.height ) *
        static_cast<double>( layout.samplesPerPixel ) *
        static_cast<double>( tags.GetNumber( Tags::kBitsPerSample, 1 ) ) / 8;
    const auto size = itsFile.GetSize();
    if ( IsPlain( tags ) && tags.Has( Tags::kStripOffsets ) && bytes > 0 && first < size )
        // In floating point: the factors come from the file, and their product may overflow.
        layout.planesInFile = static_cast<std::uint64_t>( static_cast<double>( size - first ) / bytes );
    return layout;
}

/// A thumbnail may lie before the first page, with the description of both or with one of its own.
std::vector<std::string> WTIFFFile::GetDescriptions() const
{
    // The page's own description is preferred.
    auto texts = itsFirstPage->GetTexts( Tags::kDescription, kMostDescription );
    if ( !texts.empty() || itsPages.front() == itsHeader.firstDirectory )
        return texts;
    return WTIFFDirectory( itsFile, itsHeader, itsHeader.firstDirectory )
        .GetTexts( Tags::kDescription, kMostDescription );
}

WImagePage WTIFFFile::ReadPageSelf(
    std::uint32_t inPage, const Progress& inProgress, const WImagePage::Allocator& inAllocator )
{
    const auto offset = itsPages.at( inPage );
    const WTIFFDirectory tags( itsFile, itsHeader, offset );
    const auto photometric = GetPhotometric( tags );
    if ( photometric == kPalette )
        return ReadPalette( offset, tags, inProgress, inAllocator );

    WTIFFSamples stored( tags );
    if ( photometric == kWhiteIsZero )
        stored.SetInverted();
    auto page = MakePage( tags, stored );
    page.Allocate( GetMostBytes( tags, stored.GetGrowth() ), inAllocator );
    ReadStored( offset, tags, stored, inProgress, page );
    if ( photometric == kWhiteIsZero && stored.IsDirect() )
        page.Invert();
    return page;
}

/// The size of the whole file if it were unpacked to one page and each byte became `inGrowth` bytes.
std::uint64_t WTIFFFile::GetMostBytes( const WTIFFDirectory& inTags, std::uint64_t inGrowth ) const
{
    const auto ratio = GetLargestRatio( WTIFFUnpacker::GetCompression( inTags ) ) * inGrowth;
    return std::min( itsFile.GetSize(), UINT64_MAX / ratio ) * ratio;
}

/// The colours have 8 bits, or, where the palette is finer than that or the indices have more, 16.
WImagePage WTIFFFile::ReadPalette(
    std::uint64_t inOffset, const WTIFFDirectory& inTags, const Progress& inProgress,
    const WImagePage::Allocator& inAllocator )
{
    const WTIFFSamples stored( inTags );
    auto page = MakePage( inTags, stored );
    auto indices = MakePage( inTags, stored );
    page.channels = 3;
    const auto count = page.channels * ( std::uint64_t{ 1 } << stored.GetBits() );
    const auto colours = inTags.GetNumbers( Tags::kColourMap, count );
    if ( colours.size() < count )
        throw WImageError( "its palette is incomplete" );
    const auto isFine = std::ranges::any_of(
        colours, []( auto inLevel ) { return inLevel % 256 != 0 && inLevel % 256 != inLevel / 256; } );
    // Indices of 16 bits must be aligned at the end of the page.
    const auto hasShortIndices = indices.type == WImagePage::kUInt16;
    page.type = isFine || hasShortIndices ? WImagePage::kUInt16 : WImagePage::kUInt8;
    page.Allocate(
        GetMostBytes( inTags, std::uint64_t{ page.channels } * page.GetSampleSize() * stored.GetGrowth() ),
        inAllocator );

    // In the same memory, because a thread that waits for more must not hold any.
    indices.samples = WImagePage::Samples(
        page.samples.get() + page.GetByteCount() - indices.GetByteCount(), []( std::byte* ) {} );
    ReadStored( inOffset, inTags, stored, inProgress, indices );
    if ( hasShortIndices )
        ApplyPalette<std::uint16_t, std::uint16_t>( colours, 0, page );
    else if ( isFine )
        ApplyPalette<std::uint8_t, std::uint16_t>( colours, 0, page );
    else
        ApplyPalette<std::uint8_t, std::uint8_t>( colours, 8, page );
    return page;
}

/// Reads the samples of a page, for which there is room, without interpreting them as brightness or colours.
void WTIFFFile::ReadStored(
    std::uint64_t inOffset, const WTIFFDirectory& inTags, const WTIFFSamples& inStored,
    const Progress& inProgress, WImagePage& outPage )
{
    CheckTileSize( inTags, inStored, outPage );
    const auto compression = WTIFFUnpacker::GetCompression( inTags );
    if ( WTIFFUnpacker::CanUnpack( compression ) && !WTIFFDecoder::IsBetterAt( compression ) )
        return WTIFFBlockReader( itsFile, itsHeader, inTags, inStored, outPage ).Read( inProgress );
    if ( !itsDecoder )
        itsDecoder.emplace( itsPath );
    itsDecoder->Decode( { compression, inOffset, GetMostBytes( inTags ), inStored }, inProgress, outPage );
}
