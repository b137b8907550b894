#include "WImagingComponent.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>

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

void Check( HRESULT inResult, const char* inWhat )
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
    bool isReversed; ///< Blue comes first.
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

/// The format to which palettes and grey levels of few bits are converted.
const Format& GetPlainFormat( const WImagePage& inPage )
{
    return *FindFormat(
        inPage.channels == 1 ? GUID_WICPixelFormat8bppGray : GUID_WICPixelFormat24bppBGR,
        WImagePage::kUInt8 );
}

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

/// Copies in bands, because the component counts a buffer's bytes in 32 bits.
void CopyRows( IWICBitmapSource& inSource, WImagePage& ioPage )
{
    constexpr std::uint64_t kMostBytes = std::numeric_limits<std::int32_t>::max();
    const auto rowSize = ioPage.GetRowSize();
    if ( rowSize > kMostBytes || ioPage.width > kMostBytes || ioPage.height > kMostBytes )
        throw WImageError( "its rows are too long for Windows" );

    const auto most = static_cast<std::uint32_t>( kMostBytes / rowSize );
    for ( std::uint32_t top = 0; top < ioPage.height; )
    {
        const auto rows = std::min( most, ioPage.height - top );
        const WICRect band{
            0, static_cast<INT>( top ), static_cast<INT>( ioPage.width ), static_cast<INT>( rows ) };
        auto* const target = reinterpret_cast<BYTE*>( ioPage.samples.get() + top * rowSize );
        Check(
            inSource.CopyPixels(
                &band, static_cast<UINT>( rowSize ), static_cast<UINT>( rows * rowSize ), target ),
            "its samples cannot be read" );
        top += rows;
    }
}
/// Copies all channels of the source, which may be more than those of the page.
void CopyFormat( IWICBitmapSource& inSource, std::uint32_t inChannels, bool inIsReversed, WImagePage& ioPage )
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

    CopyRows( inSource, whole );
    if ( inIsReversed )
        ExchangeRedAndBlue( whole );
    if ( isSame )
        ioPage.samples = std::move( whole.samples );
    else
        CopyChannels( whole, ioPage );
}
} // namespace

WImagingComponent::WImagingComponent( const std::filesystem::path& inPath )
{
    itsMustUninitialise = SUCCEEDED( CoInitializeEx( nullptr, COINIT_MULTITHREADED ) );
    try
    {
        Check(
            CoCreateInstance(
                CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                reinterpret_cast<void**>( &itsFactory ) ),
            "the Windows Imaging Component cannot be started" );
        Check(
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
    if ( itsMustUninitialise )
        CoUninitialize();
}

void WImagingComponent::CopyFrame( std::uint32_t inFrame, bool inMayConvert, WImagePage& ioPage )
{
    Reference<IWICBitmapFrameDecode> frame;
    Check( itsDecoder->GetFrame( inFrame, frame.GetAddress() ), "its page cannot be found" );

    UINT width = 0, height = 0;
    GUID id{};
    Check( frame->GetSize( &width, &height ), "its size cannot be read" );
    Check( frame->GetPixelFormat( &id ), "the form of its pixels cannot be read" );
    const auto* format = FindFormat( id, ioPage.type );
    const auto isSame = format && format->channels == ioPage.channels;
    if ( width != ioPage.width || height != ioPage.height || ( !isSame && !inMayConvert ) )
        throw WImageError( "Windows cannot read this form of image" );

    Reference<IWICBitmapSource> converted;
    if ( !format )
    {
        format = &GetPlainFormat( ioPage );
        Check(
            WICConvertBitmapSource( format->id, frame.Get(), converted.GetAddress() ),
            "its pixels have a form that Windows cannot convert" );
    }
    auto& source = converted.Get() ? *converted.Get() : static_cast<IWICBitmapSource&>( *frame.Get() );
    CopyFormat( source, format->channels, format->isReversed, ioPage );
}
