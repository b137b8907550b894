#include "Servers/Internal/XHTTPText.h"

#include "Core/Errors/XException.h"
#include "Core/Strings/XString.h"
#include "Servers/XHTTPHeaders.h"

#include <charconv>

// A request target is checked after decoding, and anything ambiguous is rejected: an encoded slash (which
// some programs decode before and others after splitting the path), a fragment, a NUL, and the parts "." and
// "..", which a client has to resolve itself. So a path that passes names the same thing however often it is
// split.

namespace
{

int ReadHexDigit( char inDigit )
{
    if ( inDigit >= '0' && inDigit <= '9' )
        return inDigit - '0';
    if ( inDigit >= 'a' && inDigit <= 'f' )
        return inDigit - 'a' + 10;
    return inDigit >= 'A' && inDigit <= 'F' ? inDigit - 'A' + 10 : -1;
}

/// The path and query of a URL of http; other targets as they are. An empty path means "/".
std::string WithoutHost( std::string_view inTarget )
{
    for ( const std::string_view scheme : { "http://", "https://" } )
        if ( XHTTPHeaders::AreEqual( inTarget.substr( 0, scheme.size() ), scheme ) )
        {
            const std::size_t end = inTarget.find_first_of( "/?", scheme.size() );
            const std::string_view rest = inTarget.substr( std::min( end, inTarget.size() ) );
            return ( rest.starts_with( '/' ) ? "" : "/" ) + std::string( rest );
        }
    return std::string( inTarget );
}

bool StaysInside( const std::string& inPath )
{
    for ( const std::string& part : XHTTPText::Split( inPath, '/' ) )
        if ( part == "." || part == ".." )
            return false;
    return true;
}

} // namespace

bool XHTTPText::DecodePercent( std::string_view inText, std::string& outText )
{
    outText.clear();
    for ( std::size_t i = 0; i < inText.size(); ++i )
    {
        if ( inText[i] != '%' )
        {
            outText += inText[i];
            continue;
        }
        if ( i + 2 >= inText.size() )
            return false;
        const int high = ReadHexDigit( inText[i + 1] ), low = ReadHexDigit( inText[i + 2] );
        if ( high < 0 || low < 0 )
            return false;
        outText += static_cast<char>( high * 16 + low );
        i += 2;
    }
    return true;
}

std::vector<std::string> XHTTPText::Split( std::string_view inText, char inSeparator )
{
    std::vector<std::string> parts;
    for ( ;; )
    {
        const std::size_t end = inText.find( inSeparator );
        parts.emplace_back( inText.substr( 0, end ) );
        if ( end == std::string_view::npos )
            return parts;
        inText.remove_prefix( end + 1 );
    }
}

std::string_view XHTTPText::Trim( std::string_view inText )
{
    const std::size_t begin = inText.find_first_not_of( " \t" );
    if ( begin == std::string_view::npos )
        return {};
    return inText.substr( begin, inText.find_last_not_of( " \t" ) - begin + 1 );
}

bool XHTTPText::ReadTarget( std::string_view inTarget, std::string& outPath, std::string& outQuery )
{
    const std::string target = WithoutHost( inTarget );
    const std::size_t end = std::min( target.find( '?' ), target.size() );
    const std::string_view path = std::string_view( target ).substr( 0, end );
    outQuery = target.substr( std::min( end + 1, target.size() ) );
    const bool hasEncodedSlash =
        path.find( "%2F" ) != std::string_view::npos || path.find( "%2f" ) != std::string_view::npos;
    // The order matters: encoded slashes are visible only before decoding, encoded dots only after it.
    return path.starts_with( '/' ) && !hasEncodedSlash && path.find( '#' ) == std::string_view::npos &&
        DecodePercent( path, outPath ) && outPath.find( '\0' ) == std::string::npos && StaysInside( outPath );
}

std::optional<std::uint64_t> XHTTPText::ReadNumber( std::string_view inText )
{
    std::uint64_t value = 0;
    const char* const end = inText.data() + inText.size();
    const auto [read, error] = std::from_chars( inText.data(), end, value );
    if ( error != std::errc() || read != end )
        return {};
    return value;
}

std::optional<XTime> XHTTPText::ReadDate( std::string_view inText )
{
    constexpr std::size_t kLength = 29; // Thu, 05 Mar 2026 16:07:08 GMT
    // Only the preferred format of HTTP; XTime alone would accept many others.
    if ( inText.size() != kLength || !inText.ends_with( " GMT" ) )
        return {};
    try
    {
        return XTime( XString( inText ), XString() );
    }
    catch ( const XException& )
    {
        return {};
    }
}

std::string_view XHTTPText::GetReason( int inStatus )
{
    switch ( inStatus )
    {
    case 200:
        return "OK";
    case 201:
        return "Created";
    case 202:
        return "Accepted";
    case 204:
        return "No Content";
    case 206:
        return "Partial Content";
    case 301:
        return "Moved Permanently";
    case 302:
        return "Found";
    case 303:
        return "See Other";
    case 304:
        return "Not Modified";
    case 307:
        return "Temporary Redirect";
    case 308:
        return "Permanent Redirect";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 408:
        return "Request Timeout";
    case 409:
        return "Conflict";
    case 411:
        return "Length Required";
    case 412:
        return "Precondition Failed";
    case 413:
        return "Content Too Large";
    case 415:
        return "Unsupported Media Type";
    case 416:
        return "Range Not Satisfiable";
    case 417:
        return "Expectation Failed";
    case 422:
        return "Unprocessable Content";
    case 429:
        return "Too Many Requests";
    case 431:
        return "Request Header Fields Too Large";
    case 500:
        return "Internal Server Error";
    case 501:
        return "Not Implemented";
    case 503:
        return "Service Unavailable";
    case 505:
        return "HTTP Version Not Supported";
    default:
        return "Status";
    }
}

std::string_view XHTTPText::GetContentType( const std::filesystem::path& inFile )
{
    struct Kind
    {
        std::string_view extension, type;
    };
    static constexpr Kind kKinds[] = {
        { ".html", "text/html; charset=utf-8" },
        { ".htm", "text/html; charset=utf-8" },
        { ".css", "text/css; charset=utf-8" },
        { ".js", "text/javascript; charset=utf-8" },
        { ".json", "application/json" },
        { ".txt", "text/plain; charset=utf-8" },
        { ".csv", "text/csv; charset=utf-8" },
        { ".svg", "image/svg+xml" },
        { ".png", "image/png" },
        { ".jpg", "image/jpeg" },
        { ".jpeg", "image/jpeg" },
        { ".gif", "image/gif" },
        { ".ico", "image/x-icon" },
        { ".tif", "image/tiff" },
        { ".tiff", "image/tiff" },
        { ".pdf", "application/pdf" },
        { ".zip", "application/zip" },
        { ".wasm", "application/wasm" },
    };
    const std::u8string extension = inFile.extension().u8string();
    const std::string_view view( reinterpret_cast<const char*>( extension.data() ), extension.size() );
    for ( const Kind& kind : kKinds )
        if ( XHTTPHeaders::AreEqual( view, kind.extension ) )
            return kind.type;
    return "application/octet-stream";
}
