#include "Options/ImageNames.h"

#include "Core/Strings/XNumberText.h"
#include "Options/CommandLine.h"
#include "Support/FilePaths.h"
#include "Support/InQuotes.h"
#include "Support/LowerCase.h"
#include "Support/WrongUsage.h"
#include "Terminal/Session.h"

#include <algorithm>
#include <iostream>
#include <stdexcept>

const char* const ImageNames::kHelp =
    "Images\n"
    "  IMAGE is a file, a folder, a pattern with * and ?, or - for a list of them on\n"
    "  standard input, one a line (or separated by zero bytes). A folder stands for\n"
    "  its images, with -r also for those in its folders, in the order of their\n"
    "  paths by bytes of UTF-8, folder by folder; other files are skipped and\n"
    "  counted, hidden ones left out, links to folders not followed. --group makes a\n"
    "  text column of each named group of a regular expression (RE2). It is searched\n"
    "  in the file name, then in folder/name, and so on outwards.\n";

namespace
{
std::string CheckExpression( const std::string& inText )
{
    try
    {
        const XPathGroups groups( inText );
        return {};
    }
    catch ( const std::invalid_argument& error )
    {
        return "invalid expression " + InQuotes( inText ) + ": " + error.what();
    }
}
} // namespace

void ImageNames::Declare( const CommandOptions& inOptions, const char* inPurpose )
{
    inOptions.Add( "IMAGE", itsNames, inPurpose ).Takes( "" ).Required();
    const auto input = inOptions.Under( "Input" );
    input.AddFlag( "-r,--recursive", itsIsRecursive, "Also the images in folders of folders" );
    input.Add( "--group", itsExpression, "Columns from paths, such as (?<Well>[A-H]\\d\\d)" )
        .Takes( "REGEX" )
        .Check( CheckExpression );
    inOptions.WhenParsed( [this] { Find(); } );
}

void ImageNames::Find()
{
    itsFinder.emplace( itsIsRecursive );
    if ( !itsExpression.empty() )
        itsGroups.emplace( itsExpression );
    for ( const auto& name : itsNames )
        if ( name == "-" )
            AddList();
        else
            Add( name );
    itsNames.clear();
    for ( const auto& path : itsFinder->GetFiles() )
        itsNames.push_back( PathToUTF8( path ) );
    if ( itsNames.empty() )
        throw WrongUsage( "the list of images is empty" );
}

/// One name a line, as find prints them, or separated by zero bytes, as its -print0 does.
void ImageNames::AddList()
{
    std::string text( std::istreambuf_iterator<char>( std::cin ), {} );
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if ( text.starts_with( kByteOrderMark ) )
        text.erase( 0, kByteOrderMark.size() );
    const auto separator = text.find( '\0' ) == text.npos ? '\n' : '\0';
    for ( std::size_t start = 0; start < text.size(); )
    {
        const auto end = std::min( text.find( separator, start ), text.size() );
        auto name = text.substr( start, end - start );
        if ( separator == '\n' && name.ends_with( '\r' ) )
            name.pop_back();
        if ( !name.empty() )
            Add( name );
        start = end + 1;
    }
}

void ImageNames::Add( const std::string& inName )
{
    const auto path = PathFromUTF8( inName );
    const auto failures = itsFinder->GetFailures().size();
    if ( itsFinder->Add( path ) > 0 )
        return;
    if ( itsFinder->GetFailures().size() > failures )
        throw WrongUsage( inName + ": " + itsFinder->GetFailures().back().reason );
    std::error_code ignored;
    if ( std::filesystem::is_directory( path, ignored ) )
        throw WrongUsage(
            "no images in " + inName + ( itsIsRecursive ? "" : " (-r searches its folders too)" ) );
    throw WrongUsage( "no file matches " + inName );
}

bool ImageNames::Report( Session& ioSession ) const
{
    if ( const auto skipped = itsFinder->GetSkippedCount(); skipped > 0 )
        ioSession.ReportInfo(
            "skipped " + std::to_string( skipped ) + ( skipped == 1 ? " file that is" : " files that are" ) +
            " not images" );
    for ( const auto& failure : itsFinder->GetFailures() )
        ioSession.ReportFailure( PathToUTF8( failure.folder ), { failure.reason } );
    return itsFinder->GetFailures().empty();
}

std::vector<std::pair<std::string, std::optional<std::string>>>
ImageNames::GetGroups( const std::string& inName ) const
{
    std::vector<std::pair<std::string, std::optional<std::string>>> groups;
    if ( !itsGroups )
        return groups;
    const auto texts = itsGroups->Find( PathFromUTF8( inName ) );
    const auto& names = itsGroups->GetNames();
    for ( std::size_t i = 0; i < names.size(); ++i )
        groups.emplace_back( names[i], texts ? ( *texts )[i] : std::nullopt );
    return groups;
}

void ImageNames::CheckGroups( const std::vector<std::string>& inColumns, Session& ioSession ) const
{
    if ( !itsGroups )
        return;
    auto columns = inColumns;
    for ( const auto& name : itsGroups->GetNames() )
    {
        for ( const auto& column : columns )
            if ( LowerCase( name ) == LowerCase( column ) )
                throw WrongUsage( "--group: " + InQuotes( name ) + " is the name of another column" );
        columns.push_back( name );
    }
    const auto lacksGroups = [&]( const std::string& inName )
    { return !itsGroups->Find( PathFromUTF8( inName ) ); };
    const auto unmatched = std::ranges::count_if( itsNames, lacksGroups );
    if ( unmatched == std::ssize( itsNames ) )
        throw WrongUsage( "--group: " + InQuotes( itsExpression ) + " matches the path of no image" );
    if ( unmatched > 0 )
        ioSession.ReportWarning(
            "--group does not match " + std::to_string( unmatched ) + " of " +
            std::to_string( itsNames.size() ) + " images: their groups are missing, first those of " +
            *std::ranges::find_if( itsNames, lacksGroups ) );
}
