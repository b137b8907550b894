#include "Measuring/OverlayFiles.h"

#include "Ground/XFail.h"
#include "Support/FilePaths.h"
#include "Support/LowerCase.h"
#include "Support/WrongUsage.h"

#include <cstdio>

// Names are made before any page is measured, so that a conflict is reported before work is spent. Two names
// are equal if their files are (WFilePath::GetKey, which follows the rules of the file system). In addition
// names that differ only in case are numbered, so that the files can be copied to systems that ignore case.

OverlayFiles::OverlayFiles(
    const std::string& inName, bool inHasSeveralImages, const std::vector<std::string>& inOthers )
    : itsName( inName ), itsHasSeveralImages( inHasSeveralImages )
{
    for ( const auto& other : inOthers )
        itsFiles.emplace( WFilePath::GetKey( PathFromUTF8( other ) ), other );
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
    // Continues with the number after the last one: n images of one name take O(n) attempts.
    auto& copy = itsCopies[LowerCase( inStart )];
    for ( ++copy;; ++copy )
    {
        const auto name = inStart + ( copy > 1 ? '-' + std::to_string( copy ) : "" ) + ending;
        if ( !itsTaken.insert( LowerCase( name ) ).second )
            continue;
        const auto [file, isNew] = itsFiles.emplace( WFilePath::GetKey( PathFromUTF8( name ) ), name );
        if ( !isNew )
            // Not numbered: only overlays give way to each other, other files were named by the user.
            throw WrongUsage(
                "the overlay " + name + " would overwrite another file of this command, " + file->second );
        return name;
    }
}

void OverlayFiles::AddImage( const std::string& inImage, std::uint32_t inPageCount )
{
    auto& image = itsImages.emplace_back();
    for ( std::uint32_t page = 0; page < inPageCount; ++page )
    {
        auto& name = image.emplace_back().file.name;
        name = MakeName( inImage, page, inPageCount );
        CheckOutputFiles( { name } );
    }
}

std::string OverlayFiles::GetFailure() const
{
    std::string text;
    for ( const auto& image : itsImages )
        for ( const auto& [file, failure] : image )
        {
            if ( failure && failure->IsUserAbort() )
                XThrow( failure->number );
            if ( failure && text.empty() )
                text = failure->text;
        }
    return text;
}

std::vector<CompleteFile> OverlayFiles::TakeFiles()
{
    std::vector<CompleteFile> files;
    for ( auto& image : itsImages )
        for ( auto& page : image )
            if ( page.file.file )
                files.push_back( std::move( page.file ) );
    itsImages.clear();
    return files;
}
