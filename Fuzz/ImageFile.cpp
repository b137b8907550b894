// A TIFF or PNG file, its description and all pages, through the program's readers. What can be read has as many samples
// as it says; anything else is refused with an image error or an error of the system.

#include "WImageFile.h"

#include "Core/XException.h"
#include "ImagePlanes.h"
#include "Startup/WInitCore.h"
#include "WClock.h"
#include "WFile.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace
{

constexpr std::uint32_t kMostPages = 16;

const std::filesystem::path& GetPath()
{
    static const auto sPath = std::filesystem::temp_directory_path() /
        ( "korvale-fuzz-" + std::to_string( WClock::GetMicroSeconds() ) + ".tif" );
    return sPath;
}

void WriteFile( const std::uint8_t* inData, std::size_t inSize )
{
    WFile file( GetPath(), WFile::kCreate );
    file.WriteAt( 0, inData, inSize );
    file.Close();
}

void ReadPages()
{
    const auto file = WImageFile::Open( GetPath() );
    ImagePlanes::Parse( file->GetDescriptions(), file->GetLayout() );
    const std::uint32_t pages = std::min( file->GetPageCount(), kMostPages );
    for ( std::uint32_t page = 0; page < pages; ++page )
    {
        const WImagePage image = file->ReadPage( page );
        if ( !image.samples || image.GetByteCount() == 0 )
            std::abort();
        // The sanitizer watches the last sample.
        static volatile std::byte sLast;
        sLast = image.samples[image.GetByteCount() - 1];
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    static const WInitCore sCore;
    WriteFile( inData, inSize );
    try
    {
        ReadPages();
    }
    catch ( const WImageError& )
    {
    }
    catch ( const XException& )
    {
    }
    std::filesystem::remove( GetPath() );
    return 0;
}
