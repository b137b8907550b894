#include "WTIFFDecoder.h"

#include "WImagingComponent.h"
#include "WTIFFDirectory.h"

using Tags = WTIFFDirectory;

namespace
{
bool IsMinWhite( const Tags& inTags )
{
    constexpr std::uint64_t kMinIsBlack = 1;
    return inTags.GetNumber( Tags::kPhotometric, kMinIsBlack ) == 0;
}
} // namespace

class WTIFFDecoder::Implementation
{
public:
    explicit Implementation( const std::filesystem::path& inPath )
        : itsFile( inPath, WFile::kRead ), itsHeader( WTIFFHeader::Read( itsFile ) ), itsComponent( inPath )
    {
    }

    void Decode(
        std::uint32_t inPage, std::uint64_t inDirectoryOffset, const WImageFile::Progress& inProgress,
        WImagePage& ioPage );

private:
    WFile itsFile;
    WTIFFHeader itsHeader;
    WImagingComponent itsComponent;
};

void WTIFFDecoder::Implementation::Decode(
    std::uint32_t inPage, std::uint64_t inDirectoryOffset, const WImageFile::Progress& inProgress,
    WImagePage& ioPage )
{
    // Not every system that has the component undoes this byte order once only.
    if ( itsHeader.isSwapped && ioPage.type != WImagePage::kUInt8 )
        throw WImageError( "compressed samples with the high byte first cannot be read on Windows" );

    itsComponent.CopyFrame( inPage, false, inProgress, ioPage );
    // The component has made white the highest value; wanted are the samples as they are stored.
    if ( IsMinWhite( Tags( itsFile, itsHeader, inDirectoryOffset ) ) )
        ioPage.Invert();
}

WTIFFDecoder::WTIFFDecoder( const std::filesystem::path& inPath )
    : itsImplementation( std::make_unique<Implementation>( inPath ) )
{
}

WTIFFDecoder::~WTIFFDecoder() = default;

void WTIFFDecoder::Decode(
    std::uint32_t inPage, std::uint64_t inDirectoryOffset, std::uint64_t,
    const WImageFile::Progress& inProgress, WImagePage& ioPage )
{
    itsImplementation->Decode( inPage, inDirectoryOffset, inProgress, ioPage );
}
