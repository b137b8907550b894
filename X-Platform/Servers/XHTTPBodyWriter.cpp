#include "Servers/XHTTPBodyWriter.h"

#include "Core/Errors/XException.h"
#include "Core/Times/XTimer.h"
#include "Ground/XErrorNumbers.h"
#include "Servers/Internal/XHTTPText.h"
#include "Threads/XThread.h"

#include <charconv>

XHTTPBodyWriter::XHTTPBodyWriter( XNetEndpoint& inEndpoint, std::uint32_t inSendTimeoutMS, bool inIsChunked )
    : itsEndpoint( inEndpoint ), itsSendTimeoutMS( inSendTimeoutMS ), itsIsChunked( inIsChunked )
{
}

void XHTTPBodyWriter::Write( std::string_view inBytes )
{
    constexpr std::size_t kMostPiece = 1 << 20;
    for ( ; !inBytes.empty(); inBytes.remove_prefix( std::min( inBytes.size(), kMostPiece ) ) )
    {
        const std::string_view piece = inBytes.substr( 0, kMostPiece );
        std::string bytes;
        if ( itsIsChunked )
        {
            char length[16];
            bytes.append( length, std::to_chars( length, std::end( length ), piece.size(), 16 ).ptr );
            bytes += "\r\n";
        }
        bytes += piece;
        if ( itsIsChunked )
            bytes += "\r\n";
        itsEndpoint.SendData( bytes.data(), static_cast<std::uint32_t>( bytes.size() ), itsSendTimeoutMS );
    }
}

void XHTTPBodyWriter::WriteEvent( std::string_view inText, std::string_view inName )
{
    if ( inName.find_first_of( "\r\n" ) != std::string_view::npos )
        XThrow( kErrorBadParameters );
    std::string event;
    if ( !inName.empty() )
        event.append( "event: " ).append( inName ) += '\n';
    for ( std::string& line : XHTTPText::Split( inText, '\n' ) )
    {
        if ( line.ends_with( '\r' ) )
            line.pop_back();
        event.append( "data: " ).append( line ) += '\n';
    }
    Write( event += '\n' );
}

bool XHTTPBodyWriter::Sleep( std::uint32_t inTimeMS )
{
    const XTimer timer( inTimeMS );
    try
    {
        char next = 0;
        itsEndpoint.PeekAnyData( &next, 1, inTimeMS );
        XThread::SleepCurrentThread( timer.GetRemainingMS(), true ); // the next request waits already
    }
    catch ( const XException& error )
    {
        if ( error.GetErrorNumber() == kErrorDisconnected )
            return false;
        if ( error.GetErrorNumber() != kErrorConnectionTimedOut )
            throw;
    }
    return true;
}

void XHTTPBodyWriter::Finish()
{
    constexpr std::string_view kLastPiece = "0\r\n\r\n";
    if ( itsIsChunked )
        itsEndpoint.SendData( kLastPiece.data(), kLastPiece.size(), itsSendTimeoutMS );
}
