#include "Servers/XHTTPBodyWriter.h"

#include "Core/Errors/XException.h"
#include "Core/Times/XTimer.h"
#include "Ground/XErrorNumbers.h"
#include "Network/Internal/XByteQueue.h"
#include "Servers/Internal/XHTTPText.h"
#include "Threads/XThread.h"

#include <charconv>

XHTTPBodyWriter::XHTTPBodyWriter(
    XNetEndpoint& inEndpoint, XByteQueue& ioInput, std::uint32_t inSendTimeoutMS, bool inIsChunked )
    : itsEndpoint( inEndpoint ), itsInput( ioInput ), itsSendTimeoutMS( inSendTimeoutMS ),
      itsIsChunked( inIsChunked )
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
    for ( std::string_view line : XHTTPText::Split( inText, '\n' ) )
    {
        if ( line.ends_with( '\r' ) )
            line.remove_suffix( 1 );
        for ( const std::string& part : XHTTPText::Split( line, '\r' ) ) // an end of a line by itself, too
            event.append( "data: " ).append( part ) += '\n';
    }
    Write( event += '\n' );
}

bool XHTTPBodyWriter::Sleep( std::uint32_t inTimeMS )
{
    const XTimer timer( inTimeMS );
    do
    {
        if ( !ReceiveAhead( timer.GetRemainingMS() ) )
            return false;
    } while ( !timer.HasExpired() );
    return true;
}

/// So that bytes that wait do not hide the end behind them. False at the end.
bool XHTTPBodyWriter::ReceiveAhead( std::uint32_t inTimeoutMS )
{
    constexpr USize kMostAhead = 64 * 1024;
    constexpr std::uint32_t kPiece = 4096;
    try
    {
        if ( itsInput.GetCount() < kMostAhead )
            itsInput.Commit( itsEndpoint.ReceiveAnyData( itsInput.MakeRoom( kPiece ), kPiece, inTimeoutMS ) );
        else
            XThread::SleepCurrentThread( inTimeoutMS, true );
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
