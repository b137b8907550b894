#include "OverlayFiles.h"

#include "Core/XFail.h"
#include "Core/XTextScan.h"
#include "OverlayJob.h"
#include "WrongUsage.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace
{
std::string ToLower( std::string inName )
{
    std::ranges::transform( inName, inName.begin(), XTextScan::ToLower );
    return inName;
}
} // namespace

OverlayFiles::OverlayFiles(
    const std::string& inName, bool inHasSeveralImages, const std::vector<std::string>& inOthers )
    : itsName( inName ), itsHasSeveralImages( inHasSeveralImages )
{
    for ( const auto& other : inOthers )
        itsOthers.insert( WFilePath::GetKey( PathFromUTF8( other ) ) );
}

std::string
OverlayFiles::MakeName( const std::string& inImage, std::uint32_t inPage, std::uint32_t inPageCount )
{
    auto start = itsName.substr( 0, itsName.rfind( '.' ) );
    if ( itsHasSeveralImages )
        start += '-' + PathToUTF8( PathFromUTF8( inImage ).stem() );
    if ( inPageCount > 1 )
    {
        char digits[16];
        std::snprintf( digits, sizeof( digits ), "-%04u", inPage );
        start += digits;
    }
    return TakeName( start );
}

/// The name that begins so and is not taken.
std::string OverlayFiles::TakeName( const std::string& inStart )
{
    const auto ending = itsName.substr( itsName.rfind( '.' ) );
    auto& copy = itsCopies[inStart];
    for ( ++copy;; ++copy )
    {
        const auto name = inStart + ( copy > 1 ? '-' + std::to_string( copy ) : "" ) + ending;
        if ( itsOthers.contains( WFilePath::GetKey( PathFromUTF8( name ) ) ) )
            throw WrongUsage( "the overlay " + name + " would overwrite another file of this command" );
        if ( itsTaken.insert( ToLower( name ) ).second )
            return name;
    }
}

std::unique_ptr<PageJob> OverlayFiles::MakeJob(
    const std::string& inImage, std::uint32_t inPage, std::uint32_t inPageCount, KeptOverlay inOverlay,
    std::uint64_t inFirstNumber, WorkingMemory& ioMemory, ProgressDisplay& ioDisplay )
{
    auto& page = itsPages.emplace_back();
    page.file.name = MakeName( inImage, inPage, inPageCount );
    return std::make_unique<OverlayJob>(
        inPage, inImage, std::move( inOverlay ), inFirstNumber, ioMemory, ioDisplay, page.file, page.result );
}

std::vector<CompleteFile> OverlayFiles::TakeFiles()
{
    std::vector<CompleteFile> files;
    for ( auto& [file, result] : itsPages )
    {
        if ( result.failure && result.failure->IsUserAbort() )
            XThrow( result.failure->number );
        if ( result.failure )
            throw std::runtime_error( result.failure->text );
        files.push_back( std::move( file ) );
    }
    itsPages.clear();
    return files;
}
