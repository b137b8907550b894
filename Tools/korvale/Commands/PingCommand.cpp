#include "Commands/PingCommand.h"

#include "Commands/ServiceConnection.h"
#include "Core/Storables/XRefPtr.h"
#include "Core/Times/XTimer.h"
#include "NetJobs/XControlBridge.h"
#include "Options/CommandLine.h"
#include "Support/NetworkPlace.h"
#include "Terminal/Session.h"

#include <algorithm>
#include <charconv>

namespace
{
constexpr std::uint32_t kMaxCount = 1'000'000;

std::string FormatMilliseconds( double inSeconds )
{
    char text[64];
    const auto [end, error] =
        std::to_chars( text, text + sizeof( text ), inSeconds * 1000, std::chars_format::fixed, 3 );
    return std::string( text, end ) + " ms";
}

/// The median of sorted numbers.
double GetMedian( const std::vector<double>& inSorted )
{
    return ( inSorted[( inSorted.size() - 1 ) / 2] + inSorted[inSorted.size() / 2] ) / 2;
}
} // namespace

void PingCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain(
        std::string( "Connects, opens a conversation of remote calls, which checks the keys of both\n"
                     "ends, and makes calls that do nothing. Prints the time of the opening, and the\n"
                     "minimum, median and maximum of the calls. A step that takes longer than ten\n"
                     "seconds fails.\n"
                     "\n" ) +
        ProtectionOptions::kHelp +
        "\n"
        "Example\n"
        "  korvale ping 127.0.0.1:7610 --count 1000\n" +
        kServiceExitStatuses );
    DeclareService( inOptions, itsPlace );
    inOptions.AddFlag( "--plain", itsIsPlain, "Port for plain bridges (control --plain-port)" );
    inOptions.Add( "--count", itsCount, "Calls to make" )
        .Takes( "N" )
        .IsBetween( std::uint32_t{ 1 }, kMaxCount )
        .ShowsDefault();
    itsProtection.Declare( inOptions );
}

int PingCommand::Run( Session& ioSession )
{
    const NetworkPlace place( itsPlace );
    bool isLoopBack = false;
    if ( !Try( ioSession, itsPlace, [&] { isLoopBack = place.IsLoopBack(); } ) )
        return kFailure;
    const auto protection =
        itsProtection.Choose( isLoopBack, XDeploymentKeys::kRoleNode, XDeploymentKeys::kRoleControlService );
    const XRefPtr<XRPCBridge> bridge(
        itsIsPlain ? new XRPCBridge( XRPCBridge::kClient, protection.cipher )
                   : new XControlBridge( XRPCBridge::kClient, protection.cipher ) );
    bridge->UseTLS( protection.tls );
    return Try( ioSession, itsPlace, [&] { Ping( *bridge, ioSession ); } ) ? kSuccess : kFailure;
}

void PingCommand::Ping( XRPCBridge& ioBridge, Session& ioSession ) const
{
    const XTimer timer;
    ConnectToService( ioBridge, itsPlace );
    ioSession.out << itsPlace << ": connected in " << FormatMilliseconds( timer.GetElapsedSeconds() )
                  << std::endl;
    const auto seconds = MeasureCalls( ioBridge );
    ioSession.out << seconds.size() << ( seconds.size() == 1 ? " call" : " calls" ) << ": minimum "
                  << FormatMilliseconds( seconds.front() ) << ", median "
                  << FormatMilliseconds( GetMedian( seconds ) ) << ", maximum "
                  << FormatMilliseconds( seconds.back() ) << '\n';
    ioBridge.Disconnect();
}

/// Returns the sorted durations of the calls in seconds.
std::vector<double> PingCommand::MeasureCalls( XRPCBridge& ioBridge ) const
{
    std::vector<double> seconds;
    seconds.reserve( itsCount );
    for ( std::uint32_t call = 0; call < itsCount; ++call )
    {
        const XTimer timer;
        ioBridge.CheckAlive();
        seconds.push_back( timer.GetElapsedSeconds() );
    }
    std::ranges::sort( seconds );
    return seconds;
}
