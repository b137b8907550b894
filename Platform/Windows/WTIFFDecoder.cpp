#include "WTIFFDecoder.h"

#include "WFile.h"
#include "WImagingComponent.h"

class WTIFFDecoder::Implementation
{
public:
    explicit Implementation( const std::filesystem::path& inPath )
        : itsComponent( inPath ), itsIsBigEndian( IsBigEndian( inPath ) )
    {
    }

    void Decode( std::uint32_t inPage, WImagePage& ioPage )
    {
        // Not every system that has the component undoes this byte order once only.
        if ( itsIsBigEndian && ioPage.type != WImagePage::kUInt8 )
            throw WImageError( "compressed samples with the high byte first cannot be read on Windows" );
        itsComponent.CopyFrame( inPage, false, ioPage );
    }

private:
    WImagingComponent itsComponent;
    bool itsIsBigEndian;

    static bool IsBigEndian( const std::filesystem::path& inPath )
    {
        char mark = 0;
        return WFile( inPath, WFile::kRead ).ReadAt( 0, &mark, 1 ) == 1 && mark == 'M';
    }
};

WTIFFDecoder::WTIFFDecoder( const std::filesystem::path& inPath )
    : itsImplementation( std::make_unique<Implementation>( inPath ) )
{
}

WTIFFDecoder::~WTIFFDecoder() = default;

void WTIFFDecoder::Decode( std::uint32_t inPage, std::uint64_t, std::uint64_t, WImagePage& ioPage )
{
    itsImplementation->Decode( inPage, ioPage );
}
