#include "Images/Windows/WImagingComponent.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

// The Windows Imaging Component decodes into pixel formats of its own choice. Where the chosen format has the
// samples of the page, with more channels or in another order at most, they are copied and rearranged
// (CopyFormat); packed samples are looked up in their palette row by row (CopyPacked). The component's own
// converter is not used: it would convert samples through colour spaces, and so change them.
//
// The component is COM. CoIncrementMTAUsage keeps the multithreaded apartment alive without initialising COM
// on the calling thread, which belongs to the program.

namespace
{
/// A reference to an object of the component, released at the end.
template<class T>
class Reference
{
public:
    Reference() = default;
    ~Reference()
    {
        if ( itsObject )
            itsObject->Release();
    }
    Reference( const Reference& ) = delete;
    Reference& operator=( const Reference& ) = delete;

    T** GetAddress() { return &itsObject; }
    T* Get() const { return itsObject; }
    T* operator->() const { return itsObject; }

private:
    T* itsObject = nullptr;
};

void CheckComponent( HRESULT inResult, const char* inWhat )
{
    if ( SUCCEEDED( inResult ) )
        return;
    char text[128];
    std::snprintf( text, sizeof( text ), "%s (0x%08lX)", inWhat, static_cast<unsigned long>( inResult ) );
    throw WImageError( text );
}

/// A pixel format of the component and the page that it fits.
struct Format
{
    const GUID& id;
    WImagePage::SampleType type;
    std::uint32_t channels;
    bool isReversed; // blue comes first
};

const Format kFormats[] = {
    { GUID_WICPixelFormat8bppGray, WImagePage::kUInt8, 1, false },
    { GUID_WICPixelFormat24bppRGB, WImagePage::kUInt8, 3, false },
    { GUID_WICPixelFormat24bppBGR, WImagePage::kUInt8, 3, true },
    { GUID_WICPixelFormat32bppRGBA, WImagePage::kUInt8, 4, false },
    { GUID_WICPixelFormat32bppBGRA, WImagePage::kUInt8, 4, true },
    { GUID_WICPixelFormat32bppPBGRA, WImagePage::kUInt8, 4, true },
    { GUID_WICPixelFormat16bppGray, WImagePage::kUInt16, 1, false },
    { GUID_WICPixelFormat48bppRGB, WImagePage::kUInt16, 3, false },
    { GUID_WICPixelFormat64bppRGBA, WImagePage::kUInt16, 4, false },
    { GUID_WICPixelFormat64bppPRGBA, WImagePage::kUInt16, 4, false },
    { GUID_WICPixelFormat32bppGrayFloat, WImagePage::kFloat32, 1, false },
    { GUID_WICPixelFormat96bppRGBFloat, WImagePage::kFloat32, 3, false },
    { GUID_WICPixelFormat128bppRGBAFloat, WImagePage::kFloat32, 4, false },
};

const Format* FindFormat( const GUID& inID, WImagePage::SampleType inType )
{
    const auto* found = std::ranges::find_if(
        kFormats, [&]( const Format& inFormat ) { return inFormat.id == inID && inFormat.type == inType; } );
    return found == std::end( kFormats ) ? nullptr : found;
}

/// A pixel format whose samples are palette indices or grey levels of few bits.
struct PackedFormat
{
    const GUID& id;
    std::uint32_t bits;
    bool hasPalette;
};

const PackedFormat kPackedFormats[] = {
    { GUID_WICPixelFormatBlackWhite, 1, false }, { GUID_WICPixelFormat2bppGray, 2, false },
    { GUID_WICPixelFormat4bppGray, 4, false },   { GUID_WICPixelFormat1bppIndexed, 1, true },
    { GUID_WICPixelFormat2bppIndexed, 2, true }, { GUID_WICPixelFormat4bppIndexed, 4, true },
    { GUID_WICPixelFormat8bppIndexed, 8, true },
};

void ExchangeRedAndBlue( WImagePage& ioPage )
{
    auto* samples = ioPage.samples.get();
    for ( const auto* end = samples + ioPage.GetByteCount(); samples < end; samples += ioPage.channels )
        std::swap( samples[0], samples[2] );
}

/// Keeps the first channels of a page that has more of them.
void CopyChannels( const WImagePage& inFrom, WImagePage& ioPage )
{
    const auto fromSize = inFrom.channels * inFrom.GetSampleSize();
    const auto toSize = ioPage.channels * ioPage.GetSampleSize();
    const auto* from = inFrom.samples.get();
    auto* to = ioPage.samples.get();
    for ( const auto* end = to + ioPage.GetByteCount(); to < end; from += fromSize, to += toSize )
        std::memcpy( to, from, toSize );
}

/// Copies in bands, because the component counts a buffer's bytes in 32 bits, and reports progress for each.
void CopyRows( IWICBitmapSource& inSource, const WImageFile::Progress& inProgress, WImagePage& ioPage )
{
    constexpr std::uint64_t kMostBytes = std::numeric_limits<std::int32_t>::max();
    constexpr std::uint64_t kBandBytes = 4 * 1024 * 1024;
    const auto rowSize = ioPage.GetRowSize();
    if ( rowSize > kMostBytes || ioPage.width > kMostBytes || ioPage.height > kMostBytes )
        throw WImageError( "its rows are too long for Windows" );

    const auto most = static_cast<std::uint32_t>( std::max<std::uint64_t>( kBandBytes / rowSize, 1 ) );
    for ( std::uint32_t top = 0; top < ioPage.height; )
    {
        inProgress( static_cast<double>( top ) / ioPage.height );
        const auto rows = std::min( most, ioPage.height - top );
        const WICRect band{
            0, static_cast<INT>( top ), static_cast<INT>( ioPage.width ), static_cast<INT>( rows ) };
        auto* const target = reinterpret_cast<BYTE*>( ioPage.samples.get() + top * rowSize );
        CheckComponent(
            inSource.CopyPixels(
                &band, static_cast<UINT>( rowSize ), static_cast<UINT>( rows * rowSize ), target ),
            "its samples cannot be read" );
        top += rows;
    }
}
/// Copies all channels of the source, which may be more than those of the page.
void CopyFormat(
    IWICBitmapSource& inSource, std::uint32_t inChannels, bool inIsReversed,
    const WImageFile::Progress& inProgress, WImagePage& ioPage )
{
    if ( inChannels < ioPage.channels )
        throw WImageError( "Windows cannot read this form of image" );

    WImagePage whole;
    whole.width = ioPage.width;
    whole.height = ioPage.height;
    whole.channels = inChannels;
    whole.type = ioPage.type;
    const auto isSame = inChannels == ioPage.channels;
    if ( isSame )
        whole.samples = std::move( ioPage.samples );
    else
        whole.Allocate( ioPage.GetByteCount() * inChannels );

    CopyRows( inSource, inProgress, whole );
    if ( inIsReversed )
        ExchangeRedAndBlue( whole );
    if ( isSame )
        ioPage.samples = std::move( whole.samples );
    else
        CopyChannels( whole, ioPage );
}

/// The colour of each value of a packed sample, as 0xAARRGGBB.
std::vector<WICColor>
GetColours( IWICImagingFactory& inFactory, IWICBitmapFrameDecode& inFrame, const PackedFormat& inFormat )
{
    std::vector<WICColor> colours( std::size_t{ 1 } << inFormat.bits );
    if ( !inFormat.hasPalette )
    {
        for ( std::uint32_t i = 0; i < colours.size(); ++i )
            colours[i] = static_cast<WICColor>( i * 0xFF / ( colours.size() - 1 ) * 0x010101 );
        return colours;
    }
    constexpr const char* kNoPalette = "its palette cannot be read";
    Reference<IWICPalette> palette;
    UINT count = 0;
    CheckComponent( inFactory.CreatePalette( palette.GetAddress() ), kNoPalette );
    CheckComponent( inFrame.CopyPalette( palette.Get() ), kNoPalette );
    CheckComponent(
        palette->GetColors( static_cast<UINT>( colours.size() ), colours.data(), &count ), kNoPalette );
    return colours;
}

/// Copies packed samples as colours or, into a page of one channel, as grey levels.
void CopyPacked(
    IWICBitmapFrameDecode& inFrame, std::uint32_t inBits, const std::vector<WICColor>& inColours,
    const WImageFile::Progress& inProgress, WImagePage& ioPage )
{
    if ( ioPage.width > std::numeric_limits<std::int32_t>::max() / 8 )
        throw WImageError( "its rows are too long for Windows" );
    const auto rowSize = ( ioPage.width * inBits + 7 ) / 8;
    std::vector<BYTE> row( rowSize );
    auto* samples = reinterpret_cast<BYTE*>( ioPage.samples.get() );
    for ( std::uint32_t y = 0; y < ioPage.height; ++y )
    {
        const WICRect band{ 0, static_cast<INT>( y ), static_cast<INT>( ioPage.width ), 1 };
        inProgress( static_cast<double>( y ) / ioPage.height );
        CheckComponent(
            inFrame.CopyPixels( &band, rowSize, rowSize, row.data() ), "its samples cannot be read" );
        for ( std::uint32_t x = 0; x < ioPage.width; ++x )
        {
            const auto shift = 8 - inBits - x * inBits % 8;
            const auto colour = inColours[row[x * inBits / 8] >> shift & ( inColours.size() - 1 )];
            for ( auto channel = ioPage.channels; channel-- > 0; )
                *samples++ = static_cast<BYTE>( colour >> 8 * channel );
        }
    }
}
} // namespace

WImagingComponent::WImagingComponent( const std::filesystem::path& inPath )
{
    CheckComponent( CoIncrementMTAUsage( &itsApartment ), "the Windows Imaging Component cannot be started" );
    try
    {
        CheckComponent(
            CoCreateInstance(
                CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                reinterpret_cast<void**>( &itsFactory ) ),
            "the Windows Imaging Component cannot be started" );
        CheckComponent(
            itsFactory->CreateDecoderFromFilename(
                inPath.c_str(), nullptr, GENERIC_READ, WICDecodeMetadataCacheOnDemand, &itsDecoder ),
            "Windows cannot read this form of image" );
    }
    catch ( ... )
    {
        Release();
        throw;
    }
}

WImagingComponent::~WImagingComponent()
{
    Release();
}

void WImagingComponent::Release()
{
    if ( itsDecoder )
        itsDecoder->Release();
    if ( itsFactory )
        itsFactory->Release();
    CoDecrementMTAUsage( itsApartment );
}

void WImagingComponent::CopyFrame( const WImageFile::Progress& inProgress, WImagePage& ioPage )
{
    Reference<IWICBitmapFrameDecode> frame;
    CheckComponent( itsDecoder->GetFrame( 0, frame.GetAddress() ), "its page cannot be found" );

    UINT width = 0, height = 0;
    GUID id{};
    CheckComponent( frame->GetSize( &width, &height ), "its size cannot be read" );
    CheckComponent( frame->GetPixelFormat( &id ), "the form of its pixels cannot be read" );
    const auto* format = FindFormat( id, ioPage.type );
    if ( width != ioPage.width || height != ioPage.height )
        throw WImageError( "Windows cannot read this form of image" );

    if ( format )
        return CopyFormat( *frame.Get(), format->channels, format->isReversed, inProgress, ioPage );

    const auto* packed =
        std::ranges::find( kPackedFormats, id, []( const auto& inEach ) { return inEach.id; } );
    if ( packed == std::end( kPackedFormats ) || ioPage.type != WImagePage::kUInt8 )
        throw WImageError( "Windows cannot read this form of image" );
    CopyPacked(
        *frame.Get(), packed->bits, GetColours( *itsFactory, *frame.Get(), *packed ), inProgress, ioPage );
}
