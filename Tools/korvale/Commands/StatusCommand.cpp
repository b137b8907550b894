#include "Commands/StatusCommand.h"

#include "Commands/ServiceConnection.h"
#include "Core/Storables/XRefPtr.h"
#include "NetJobs/XControlBridge.h"
#include "Options/CommandLine.h"
#include "Pivot/XPivotText.h"
#include "Support/JSONText.h"
#include "Support/NetworkPlace.h"
#include "Terminal/AlignedText.h"
#include "Terminal/Session.h"

#include <vector>

namespace
{
using Line = std::vector<std::string>;

std::string GetText( const XString& inText )
{
    return XPivotText::ToUTF8Line( inText );
}

std::string GetRate( const XNetJobStatus& inStatus )
{
    return std::to_string( inStatus.jobsInTenSeconds / 10 ) + '.' +
        std::to_string( inStatus.jobsInTenSeconds % 10 );
}

/// The first column is text, the others are numbers. Prints nothing for a header alone.
void PrintLines( const std::vector<Line>& inLines, std::ostream& ioOut )
{
    if ( inLines.size() == 1 )
        return;
    std::vector<AlignedColumn> columns;
    for ( std::size_t i = 0; i < inLines[0].size(); ++i )
        columns.push_back( { i > 0, [&inLines, i]( std::uint32_t inRow ) { return inLines[inRow][i]; } } );
    ioOut << '\n';
    AlignedText( columns, static_cast<std::uint32_t>( inLines.size() ) ).Print( ioOut );
}

template<class TPeer>
std::string DescribePeer( const TPeer& inPeer )
{
    std::string text = GetText( inPeer.name );
    if ( inPeer.computerName != inPeer.name )
        text += " on " + GetText( inPeer.computerName );
    return inPeer.isConnected ? text : text + " (disconnected)";
}

void PrintText( const XNetJobStatus& inStatus, std::ostream& ioOut )
{
    ioOut << inStatus.completedJobs << ( inStatus.completedJobs == 1 ? " job" : " jobs" ) << " completed, "
          << GetRate( inStatus ) << " per second\n";
    std::vector<Line> nodes{ { "Node", "Workers", "Running", "Assigned", "Completed" } };
    for ( const XNetJobStatus::XNode& node : inStatus.nodes )
        nodes.push_back(
            { DescribePeer( node ), std::to_string( node.workers ), std::to_string( node.startedJobs ),
              std::to_string( node.assignedJobs ), std::to_string( node.completedJobs ) } );
    PrintLines( nodes, ioOut );
    std::vector<Line> clients{ { "Client", "Waiting", "Suspended", "Assigned", "Completed" } };
    for ( const XNetJobStatus::XClient& client : inStatus.clients )
        clients.push_back(
            { DescribePeer( client ), std::to_string( client.waitingJobs ),
              std::to_string( client.suspendedJobs ), std::to_string( client.assignedJobs ),
              std::to_string( client.completedJobs ) } );
    PrintLines( clients, ioOut );
    std::vector<Line> failures{ { "Failure", "Seconds ago" } };
    for ( const XNetJobStatus::XFailure& failure : inStatus.failures )
        failures.push_back( { GetText( failure.text ), std::to_string( failure.ageMS / 1000 ) } );
    PrintLines( failures, ioOut );
}

// ---- JSON

std::string Quote( const XString& inText )
{
    return QuoteJSON( inText.ToUTF8() );
}

/// An array of objects; `inWrite` returns the members of one.
template<class TElement, class TWrite>
std::string MakeArray( const XVector<TElement>& inElements, const TWrite& inWrite )
{
    std::string text;
    for ( const TElement& element : inElements )
        text += std::string( text.empty() ? "\n    { " : ",\n    { " ) + inWrite( element ) + " }";
    return "[" + text + ( text.empty() ? "]" : "\n  ]" );
}

std::string Member( const char* inName, std::uint64_t inValue )
{
    return std::string( ", \"" ) + inName + "\": " + std::to_string( inValue );
}

template<class TPeer>
std::string DescribeInJSON( const TPeer& inPeer )
{
    return "\"id\": " + std::to_string( inPeer.id ) + ", \"name\": " + Quote( inPeer.name ) +
        ", \"computer\": " + Quote( inPeer.computerName ) +
        ", \"connected\": " + ( inPeer.isConnected ? "true" : "false" ) +
        Member( "assigned", inPeer.assignedJobs ) + Member( "completed", inPeer.completedJobs );
}

void PrintJSON( const XNetJobStatus& inStatus, std::ostream& ioOut )
{
    const auto writeNode = []( const XNetJobStatus::XNode& inNode )
    {
        return DescribeInJSON( inNode ) + Member( "running", inNode.startedJobs ) +
            Member( "workers", inNode.workers ) + Member( "silent_ms", inNode.silentMS );
    };
    const auto writeClient = []( const XNetJobStatus::XClient& inClient )
    {
        return DescribeInJSON( inClient ) + Member( "waiting", inClient.waitingJobs ) +
            Member( "suspended", inClient.suspendedJobs );
    };
    const auto writeFailure = []( const XNetJobStatus::XFailure& inFailure )
    { return "\"text\": " + Quote( inFailure.text ) + Member( "age_ms", inFailure.ageMS ); };
    ioOut << "{\n  \"completed\": " << inStatus.completedJobs
          << ",\n  \"jobs_per_second\": " << GetRate( inStatus )
          << ",\n  \"nodes\": " << MakeArray( inStatus.nodes, writeNode )
          << ",\n  \"clients\": " << MakeArray( inStatus.clients, writeClient )
          << ",\n  \"failures\": " << MakeArray( inStatus.failures, writeFailure ) << "\n}\n";
}
} // namespace

void StatusCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain(
        std::string( "Prints the completed jobs, the nodes, the clients with their jobs, and recent\n"
                     "failures. The rate is that of the last ten seconds.\n"
                     "\n" ) +
        ProtectionOptions::kHelp +
        "\n"
        "Example\n"
        "  korvale status 127.0.0.1:7610\n"
        "\n"
        "Exit status: 0, 1 when the service does not answer, 2 for wrong usage, 130 when\n"
        "interrupted." );
    inOptions.Add( "ADDRESS", itsPlace, "Where the service listens" )
        .Takes( "HOST:PORT" )
        .Check( NetworkPlace::Check )
        .Required();
    inOptions.AddFlag( "--json", itsIsJSON, "Print JSON" );
    itsProtection.Declare( inOptions );
}

int StatusCommand::Run( Session& ioSession )
{
    bool isLoopBack = false;
    if ( !Try( ioSession, itsPlace, [&] { isLoopBack = NetworkPlace( itsPlace ).IsLoopBack(); } ) )
        return kFailure;
    const auto protection =
        itsProtection.Choose( isLoopBack, XDeploymentKeys::kRoleNode, XDeploymentKeys::kRoleControlService );
    const auto print = [&]
    {
        const auto bridge = XMakeRef<XControlBridge>( XRPCBridge::kClient, protection.cipher );
        bridge->UseTLS( protection.tls );
        ConnectToService( *bridge, itsPlace );
        const XNetJobStatus status = bridge->GetStatus();
        itsIsJSON ? PrintJSON( status, ioSession.out ) : PrintText( status, ioSession.out );
        bridge->Disconnect();
    };
    return Try( ioSession, itsPlace, print ) ? kSuccess : kFailure;
}
