#include "Servers/Internal/XHTTPParser.h"

#include "Servers/Internal/XHTTPText.h"

#include <boost/beast/http/basic_parser.hpp>
#include <boost/beast/http/error.hpp>

#include <algorithm>

// The parser library accepts what a client may want to read; a server has to be stricter, because two
// programs that disagree about where a request ends can be made to see different requests (request
// smuggling). Rejected here beyond the library: more than one Host, Content-Length or Transfer-Encoding, both
// of the latter together, a coding other than "chunked", folded lines, and a header of chunks or a trailer
// above the limit for headers.
//
// The header and the body are parsed in two steps (ReadBody makes the parser eager), so that a request can be
// refused by its header before its body is received.

namespace http = boost::beast::http;
using Error = boost::beast::error_code;
using View = boost::beast::string_view;

namespace
{

std::string_view ToView( View inView )
{
    return { inView.data(), inView.size() };
}

int ToStatus( const Error& inError )
{
    if ( inError == http::error::header_limit )
        return 431;
    if ( inError == http::error::body_limit )
        return 413;
    return inError == http::error::bad_version ? 505 : 400;
}

/// A field that continues in the next line, which some parsers treat as another field.
bool HasFoldedLine( std::string_view inHeader )
{
    return inHeader.find( "\n " ) != std::string_view::npos ||
        inHeader.find( "\n\t" ) != std::string_view::npos;
}

} // namespace

class XHTTPParser::XImp : public http::basic_parser<true>
{
public:
    XImp( USize64 inMostHeaderBytes, USize64 inMostBodyBytes ) : itsMostHeaderBytes( inMostHeaderBytes )
    {
        header_limit( static_cast<std::uint32_t>( std::min<USize64>( inMostHeaderBytes, 0x7FFFFFFF ) ) );
        body_limit( inMostBodyBytes );
    }

    void TakeHeaderField( std::string_view inName, std::string_view inValue )
    {
        request.itsHeaders.itsFields.push_back( { std::string( inName ), std::string( inValue ) } );
    }

    USize Put( const void* inBytes, USize inCount )
    {
        Error parserError;
        const bool isHeader = !is_header_done();
        const USize taken = put( boost::asio::const_buffer( inBytes, inCount ), parserError );
        // The library has joined the lines by the time it reports the field; only the bytes show it.
        if ( isHeader && HasFoldedLine( { static_cast<const char*>( inBytes ), taken } ) )
            error = 400;
        itsHeaderBytes += is_header_done() ? 0 : taken;
        if ( parserError == http::error::need_more )
        {
            // The header of a chunk, or a trailer, is a header too.
            if ( inCount - taken > itsMostHeaderBytes || itsHeaderBytes > itsMostHeaderBytes )
                error = 431;
        }
        else if ( parserError && error == 0 )
            error = ToStatus( parserError );
        return taken;
    }

    XHTTPRequest request;
    int error = 0;

private:
    void on_request_impl( http::verb, View inMethod, View inTarget, int inVersion, Error& outError ) override
    {
        request.itsMethod = ToView( inMethod );
        request.itsVersion = inVersion;
        if ( !XHTTPText::ReadTarget( ToView( inTarget ), request.itsPath, request.itsQuery ) )
            outError = http::error::bad_target;
    }

    void on_response_impl( int, View, int, Error& ) override {}

    /// Fields of a trailer come here, too; nothing reads them.
    void on_field_impl( http::field inField, View inName, View inValue, Error& outError ) override
    {
        if ( itsHasHeader )
            return;
        const std::string_view value = ToView( inValue );
        if ( inField == http::field::host && ++itsHosts > 1 )
            outError = http::error::bad_value;
        if ( inField == http::field::content_length &&
             ( ++itsLengths > 1 || !XHTTPText::ReadNumber( value ) ) )
            outError = http::error::bad_content_length;
        if ( inField == http::field::transfer_encoding )
            CheckCoding( value, outError );
        if ( itsLengths > 0 && itsCodings > 0 )
            outError = http::error::bad_content_length;
        TakeHeaderField( ToView( inName ), value );
    }

    void CheckCoding( std::string_view inValue, Error& outError )
    {
        if ( ++itsCodings > 1 || request.itsVersion < 11 )
            outError = http::error::bad_transfer_encoding;
        else if ( !XHTTPHeaders::AreEqual( inValue, "chunked" ) )
        {
            // A coding that exists but is not supported, as opposed to a malformed field (400).
            error = 501;
            outError = http::error::bad_transfer_encoding;
        }
    }

    void on_header_impl( Error& outError ) override
    {
        itsHasHeader = true;
        if ( request.itsVersion >= 11 && itsHosts == 0 )
            outError = http::error::bad_value;
    }

    void on_body_init_impl( const boost::optional<std::uint64_t>&, Error& ) override {}

    std::size_t on_body_impl( View inBody, Error& ) override
    {
        request.itsBody += ToView( inBody );
        return inBody.size();
    }

    void on_chunk_header_impl( std::uint64_t, View, Error& ) override {}

    std::size_t on_chunk_body_impl( std::uint64_t, View inBody, Error& outError ) override
    {
        return on_body_impl( inBody, outError );
    }

    void on_finish_impl( Error& ) override {}

    const USize64 itsMostHeaderBytes;
    USize64 itsHeaderBytes = 0;
    bool itsHasHeader = false;
    int itsHosts = 0;
    int itsLengths = 0;
    int itsCodings = 0;
};

XHTTPParser::XHTTPParser( USize64 inMostHeaderBytes, USize64 inMostBodyBytes )
    : itsImp( std::make_unique<XImp>( inMostHeaderBytes, inMostBodyBytes ) )
{
}

XHTTPParser::~XHTTPParser() = default;

USize XHTTPParser::Put( const void* inBytes, USize inCount )
{
    return itsImp->Put( inBytes, inCount );
}

void XHTTPParser::ReadBody()
{
    itsImp->eager( true );
}

bool XHTTPParser::HasHeader() const
{
    return itsImp->is_header_done();
}

bool XHTTPParser::IsDone() const
{
    return itsImp->is_done();
}

int XHTTPParser::GetError() const
{
    return itsImp->error;
}

bool XHTTPParser::KeepsAlive() const
{
    return itsImp->keep_alive();
}

XHTTPRequest& XHTTPParser::GetRequest()
{
    return itsImp->request;
}
