#include "Servers/Internal/XHTTPFilePart.h"

#include "Core/Errors/XException.h"
#include "Core/Strings/XString.h"
#include "Files/WFilePath.h"
#include "Servers/Internal/XHTTPText.h"

#include <algorithm>
#include <cstdio>
#include <system_error>

// The conditional requests of RFC 9110, section 13, in its order of precedence: If-Match, or else
// If-Unmodified-Since (412); then If-None-Match, or else If-Modified-Since (304); then If-Range and Range.
// Dates have a resolution of one second, entity tags are made of the modification time in microseconds and
// the size.
//
// The file is opened before its size is announced and read through the same handle, so a file that is
// replaced meanwhile is delivered as it was; one that is truncated ends the connection.

namespace
{

/// Microseconds since 1904, of the file's clock.
std::optional<XTime> GetModificationTime( const std::filesystem::path& inPath )
{
    std::error_code error;
    const auto time = std::filesystem::last_write_time( inPath, error );
    if ( error )
        return {};
    const auto system = std::chrono::file_clock::to_sys( time );
    const auto us = std::chrono::floor<std::chrono::microseconds>( system.time_since_epoch() ).count();
    XTime result( 0 );
    result.SetUnixTime( 0 );
    return result + XTime( us );
}

std::string MakeETag( const XTime& inModified, std::uint64_t inSize )
{
    char text[48];
    std::snprintf(
        text, sizeof( text ), "\"%llx-%llx\"",
        static_cast<unsigned long long>( inModified.GetMicroSeconds() ),
        static_cast<unsigned long long>( inSize ) );
    return text;
}

std::string_view WithoutWeakness( std::string_view inTag )
{
    return inTag.starts_with( "W/" ) ? inTag.substr( 2 ) : inTag;
}

/// Whether a list of tags contains this one or is `*`, the only match for an empty tag. Foreign tags that
/// contain commas match nothing.
bool ListsTag( std::string_view inList, std::string_view inTag, bool inWeakly )
{
    if ( XHTTPText::Trim( inList ) == "*" )
        return true;
    if ( inTag.empty() )
        return false;
    for ( const std::string& part : XHTTPText::Split( inList, ',' ) )
    {
        const std::string_view tag = XHTTPText::Trim( part );
        if ( inWeakly ? WithoutWeakness( tag ) == WithoutWeakness( inTag )
                      : tag == inTag && !tag.starts_with( "W/" ) )
            return true;
    }
    return false;
}

/// Whether it was changed after the date of a field, to the second; nothing where one of the dates is missing.
std::optional<bool> WasChangedSince( const std::string& inDate, const std::string& inModified )
{
    const auto date = XHTTPText::ReadDate( inDate ), modified = XHTTPText::ReadDate( inModified );
    if ( !date || !modified )
        return {};
    return *modified > *date;
}

} // namespace

XHTTPFilePart::XHTTPFilePart(
    const XHTTPRequest& inRequest, const std::filesystem::path& inPath, XHTTPResponse& ioResponse )
{
    std::error_code error;
    const auto modified = GetModificationTime( inPath );
    if ( !modified || !std::filesystem::is_regular_file( inPath, error ) || WFile::IsDevice( inPath ) )
    {
        ioResponse = XHTTPResponse::Status( 404 );
        return;
    }
    try
    {
        itsFile.Open( inPath, WFile::kRead );
        itsSize = itsEnd = itsFile.GetSize();
    }
    catch ( const XException& )
    {
        ioResponse = XHTTPResponse::Status( WFilePath::Exists( inPath ) ? 403 : 404 );
        itsEnd = 0;
        return;
    }
    XHTTPHeaders& fields = ioResponse.GetHeaders();
    fields.Set( "ETag", MakeETag( *modified, itsSize ) );
    if ( const XString date = modified->GetInternetTimeString(); date.EndsWith( "GMT" ) )
        fields.Set( "Last-Modified", date.GetStringView() );
    fields.Set( "Accept-Ranges", "bytes" );
    if ( !HasConditions( inRequest, ioResponse ) )
        return;
    if ( const int status = CheckConditions( inRequest, fields ) )
    {
        ioResponse.SetStatus( status );
        itsEnd = 0;
    }
    else
        TakeRange( inRequest, ioResponse );
}

bool XHTTPFilePart::HasConditions( const XHTTPRequest& inRequest, const XHTTPResponse& inResponse )
{
    return inResponse.GetStatus() == 200 && inRequest.GetMethod() != "POST";
}

int XHTTPFilePart::CheckConditions( const XHTTPRequest& inRequest, const XHTTPHeaders& inFields )
{
    const XHTTPHeaders& conditions = inRequest.GetHeaders();
    const std::string tag = inFields.Get( "ETag" ), modified = inFields.Get( "Last-Modified" );
    if ( conditions.Has( "If-Match" ) )
    {
        if ( !ListsTag( conditions.Get( "If-Match" ), tag, false ) )
            return 412;
    }
    else if ( WasChangedSince( conditions.Get( "If-Unmodified-Since" ), modified ).value_or( false ) )
        return 412;
    if ( conditions.Has( "If-None-Match" ) )
        return ListsTag( conditions.Get( "If-None-Match" ), tag, true ) ? 304 : 0;
    return WasChangedSince( conditions.Get( "If-Modified-Since" ), modified ).value_or( true ) ? 0 : 304;
}

/// Supports one range of bytes; several ranges, other units and malformed ones get the whole file.
void XHTTPFilePart::TakeRange( const XHTTPRequest& inRequest, XHTTPResponse& ioResponse )
{
    constexpr std::string_view kUnit = "bytes=";
    const XHTTPHeaders& fields = ioResponse.GetHeaders();
    const std::string range = inRequest.GetHeader( "Range" ), condition = inRequest.GetHeader( "If-Range" );
    const bool isCurrent = condition.empty() || condition == fields.Get( "ETag" ) ||
        ( condition == fields.Get( "Last-Modified" ) );
    if ( inRequest.GetMethod() != "GET" || !range.starts_with( kUnit ) || !isCurrent )
        return;
    const std::string_view text = std::string_view( range ).substr( kUnit.size() );
    const std::size_t dash = text.find( '-' );
    if ( dash == std::string_view::npos )
        return;
    const auto first = XHTTPText::ReadNumber( text.substr( 0, dash ) );
    const auto last = XHTTPText::ReadNumber( text.substr( dash + 1 ) );
    const bool hasFirst = dash > 0, hasLast = dash + 1 < text.size();
    if ( hasFirst != first.has_value() || hasLast != last.has_value() || !( hasFirst || hasLast ) ||
         ( hasFirst && hasLast && *last < *first ) )
        return;
    // Without a first byte the number is that of the last bytes of the file.
    const std::uint64_t begin = hasFirst ? *first : itsSize - std::min( *last, itsSize );
    const std::uint64_t end = hasFirst && hasLast && *last < itsSize ? *last + 1 : itsSize;
    const std::string size = std::to_string( itsSize );
    if ( begin >= end )
    {
        ioResponse = XHTTPResponse::Status( 416 );
        ioResponse.GetHeaders().Set( "Content-Range", "bytes */" + size );
        itsEnd = 0;
        return;
    }
    itsBegin = begin;
    itsEnd = end;
    ioResponse.SetStatus( 206 );
    ioResponse.GetHeaders().Set(
        "Content-Range", "bytes " + std::to_string( begin ) + "-" + std::to_string( end - 1 ) + "/" + size );
}
