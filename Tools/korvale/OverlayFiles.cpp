#include "OverlayFiles.h"

#include "Core/XFail.h"
#include "Core/XTextScan.h"
#include "OverlayJob.h"
#include "WrongUsage.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

OverlayFiles::OverlayFiles(
    const std::string& inName, bool inHasSeveralImages, const std::vector<std::string>& inOthers )
    : itsName( inName ), itsHasSeveralImages( inHasSeveralImages )
{
    for ( const auto& other : inOthers )
        TakeName( other );
}

/// False when the file is taken already. Some systems do not tell capitals from small letters.
bool OverlayFiles::TakeName( const std::string& inName )
{
    std::error_code error;
    auto name = PathToUTF8( std::filesystem::weakly_canonical( PathFromUTF8( inName ), error ) );
    std::ranges::transform( name, name.begin(), XTextScan::ToLower );
    return itsTakenNames.insert( name ).second;
}

std::string
OverlayFiles::MakeName( const std::string& inImage, std::uint32_t inPage, std::uint32_t inPageCount ) const
{
    const auto dot = itsName.rfind( '.' );
    auto name = itsName.substr( 0, dot );
    if ( itsHasSeveralImages )
        name += '-' + PathToUTF8( PathFromUTF8( inImage ).stem() );
    if ( inPageCount > 1 )
    {
        char digits[16];
        std::snprintf( digits, sizeof( digits ), "-%04u", inPage );
        name += digits;
    }
    return name + itsName.substr( dot );
}

std::unique_ptr<PageJob> OverlayFiles::MakeJob(
    const std::string& inImage, std::uint32_t inPage, std::uint32_t inPageCount, KeptOverlay inOverlay,
    std::uint64_t inFirstNumber, WorkingMemory& ioMemory, ProgressDisplay& ioDisplay )
{
    const auto name = MakeName( inImage, inPage, inPageCount );
    if ( !TakeName( name ) )
        throw WrongUsage( "the overlay " + name + " would overwrite another file of this command" );
    auto& page = itsPages.emplace_back();
    page.file.name = name;
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
