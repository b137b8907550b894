// A TIFF or PNG file, its description and all pages, through the program's readers, and the first page through the readers
// of blocks that do without the system's libraries. What can be read has as many samples as it says; anything else is
// refused with an image error or an error of the system.

#include "Images/WImageFile.h"

#include "Core/Errors/XException.h"
#include "Files/WFile.h"
#include "Images/WTIFFBlockReader.h"
#include "Imaging/XImageStructure.h"
#include "Startup/WInitCore.h"
#include "Time/WClock.h"

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
    try
    {
        XImageStructure::Read( *file, GetPath() );
    }
    catch ( const WImageError& )
    {
    }
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

/// As samples of every type, whatever the file says of them.
void ReadBlocks( const WTIFFSamples& inStored )
{
    constexpr std::uint32_t kMostPixels = 1 << 16, kMostChannels = 8;
    const WFile file( GetPath(), WFile::kRead );
    const auto header = WTIFFHeader::Read( file );
    const WTIFFDirectory tags( file, header, header.firstDirectory );
    WImagePage page;
    page.width = tags.GetExtent( WTIFFDirectory::kWidth, 0 );
    page.height = tags.GetExtent( WTIFFDirectory::kHeight, 0 );
    page.channels = tags.GetExtent( WTIFFDirectory::kSamplesPerPixel, 1 );
    page.type = inStored.GetPageType();
    const auto isSmall = std::uint64_t{ page.width } * page.height <= kMostPixels &&
        page.channels <= kMostChannels && tags.GetExtent( WTIFFDirectory::kTileWidth, 0 ) <= kMostPixels;
    if ( !isSmall ||
         !WTIFFUnpacker::CanUnpack( tags.GetNumber( WTIFFDirectory::kCompression, WTIFFUnpacker::kNone ) ) )
        return;
    page.Allocate( UINT64_MAX );
    WTIFFBlockReader( file, header, tags, inStored, page ).Read( []( double ) {} );
}

/// Runs what may be refused.
template<class Read>
void Try( Read inRead )
{
    try
    {
        inRead();
    }
    catch ( const WImageError& )
    {
    }
    catch ( const XException& )
    {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t* inData, std::size_t inSize )
{
    static const WInitCore sCore;
    WriteFile( inData, inSize );
    Try( ReadPages );
    for ( const std::uint32_t bits : { 1, 8, 12, 16, 24, 32 } )
        Try( [&] { ReadBlocks( { bits, WTIFFSamples::kUnsigned } ); } );
    for ( const std::uint32_t bits : { 16, 32, 64 } )
    {
        Try( [&] { ReadBlocks( { bits, WTIFFSamples::kSigned } ); } );
        Try( [&] { ReadBlocks( { bits, WTIFFSamples::kFloat } ); } );
    }
    std::filesystem::remove( GetPath() );
    return 0;
}
