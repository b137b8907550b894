#include "Commands/ControlCommand.h"

#include "Measuring/MeasurePageJob.h"
#include "NetJobs/XNetJobControl.h"
#include "Options/CommandLine.h"
#include "Process/WInterrupt.h"
#include "RemoteCalls/XRPCBridge.h"
#include "RemoteCalls/XRPCResponder.h"
#include "Servers/XNetServer.h"
#include "StatusPage/StatusPage.h"
#include "Support/NetworkPlace.h"
#include "Terminal/Session.h"
#include "Threads/XThread.h"

namespace
{
/// The time that connections have to end after an interrupt.
constexpr std::uint32_t kGraceMS = 900;
constexpr std::uint32_t kWatchPeriodMS = 50;

/// Serves plain bridges.
void Serve(
    XNetServer& ioServer, const XNetAddress& inAddress, const ProtectionOptions::Protection& inProtection )
{
    XServeBridge<XRPCBridge>( ioServer, XRPCBridge::kServer, inProtection.cipher );
    ioServer.UseTLS( inProtection.tls );
    ioServer.Start( inAddress );
}

/// Prints a line at once, and logs it.
void Announce( const std::string& inText, Session& ioSession )
{
    ioSession.out << inText << std::endl;
    ioSession.LogInfo( inText );
}
} // namespace

void ControlCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain(
        std::string( "Prints \"listening on HOST:PORT\" when it is ready, then where the status page and\n"
                     "plain bridges are, if asked for, a line each. Runs until it is interrupted\n"
                     "(Ctrl-C, SIGTERM). Port 0 selects a free port; host 0.0.0.0 all adapters.\n"
                     "\n" ) +
        ProtectionOptions::kHelp +
        "  The status page cannot change anything, but has no protection: whoever can\n"
        "  connect to it can read it. /status.json has what \"korvale status --json\"\n"
        "  prints, /metrics the format of Prometheus.\n"
        "\n"
        "Examples\n"
        "  korvale control\n"
        "  korvale control --listen 0.0.0.0:7610 --keys keys --http 127.0.0.1:8080\n"
        "\n"
        "Exit status: 0 when interrupted, 1 after a failure, 2 for wrong usage." );
    inOptions.Add( "--listen", itsListen, "Where to listen" )
        .Takes( "HOST:PORT" )
        .Check( NetworkPlace::Check )
        .ShowsDefault();
    inOptions.Add( "--http", itsHTTP, "Where to serve a status page [nowhere]" )
        .Takes( "HOST:PORT" )
        .Check( NetworkPlace::Check );
    inOptions.Add( "--plain-port", itsPlainPort, "Port for bridges that send no preamble [none]" )
        .Takes( "PORT" )
        .IsBetween( std::uint32_t{ 0 }, std::uint32_t{ 65535 } );
    itsProtection.Declare( inOptions );
}

int ControlCommand::Run( Session& ioSession )
{
    WInterrupt::BeginService( kGraceMS );
    const NetworkPlace place( itsListen );
    bool isLoopBack = false;
    if ( !Try( ioSession, itsListen, [&] { isLoopBack = place.IsLoopBack(); } ) )
        return kFailure;
    const auto protection =
        itsProtection.Choose( isLoopBack, XDeploymentKeys::kRoleControlService, XDeploymentKeys::kRoleNode );
    if ( protection.isWeak )
        ioSession.ReportWarning( "without TLS, others in the network can read and change what is sent" );

    MeasurePageJob::Register(); // for its description
    XNetJobControl service( protection.cipher, protection.tls );
    XNetServer plain( "plain bridges" );
    StatusPage page( [&service] { return service.GetStatus(); } );
    const auto plainPort = static_cast<std::int32_t>( itsPlainPort );
    const auto start = [&] { service.Start( place.GetAddress() ); };
    const auto startPlain = [&] { Serve( plain, place.GetAddress( plainPort ), protection ); };
    const auto startPages = [&] { page.Start( NetworkPlace( itsHTTP ) ); };
    if ( !Try( ioSession, itsListen, start ) ||
         ( itsPlainPort != kNoPort && !Try( ioSession, place.GetText( plainPort ), startPlain ) ) ||
         ( !itsHTTP.empty() && !Try( ioSession, itsHTTP, startPages ) ) )
        return kFailure;

    if ( !page.IsLoopBack() )
        ioSession.ReportWarning( "others in the network can read the status page" );
    Announce( "listening on " + place.GetText( service.GetPort() ), ioSession );
    if ( !itsHTTP.empty() )
        Announce(
            "status page on http://" + NetworkPlace( itsHTTP ).GetText( page.GetPort() ) + '/', ioSession );
    if ( plain.IsRunning() )
        Announce( "plain bridges on " + place.GetText( plain.GetPort() ), ioSession );
    if ( !ioSession.out ) // nobody learns where it listens; the program reports the failure
        return kFailure;
    while ( !WInterrupt::IsRequested() )
        XThread::SleepCurrentThread( kWatchPeriodMS );
    ioSession.LogInfo( "interrupted" );
    return kSuccess;
}
