#include "Commands/StatusCommand.h"

#include "Commands/ServiceConnection.h"
#include "Core/Storables/XRefPtr.h"
#include "Measuring/MeasurePageJob.h"
#include "NetJobs/XControlBridge.h"
#include "Options/CommandLine.h"
#include "Pivot/XPivotText.h"
#include "StatusPage/StatusJSON.h"
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
          << WriteJobRate( inStatus.jobsInTenSeconds ) << " per second\n";
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
        "  korvale status 127.0.0.1:7610\n" +
        kServiceExitStatuses );
    DeclareService( inOptions, itsPlace );
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
    MeasurePageJob::Register(); // for its description
    const auto print = [&]
    {
        const auto bridge = XMakeRef<XControlBridge>( XRPCBridge::kClient, protection.cipher );
        bridge->UseTLS( protection.tls );
        ConnectToService( *bridge, itsPlace );
        const XNetJobStatus status = bridge->GetStatus();
        if ( itsIsJSON )
            ioSession.out << WriteStatusJSON( status );
        else
            PrintText( status, ioSession.out );
        bridge->Disconnect();
    };
    return Try( ioSession, itsPlace, print ) ? kSuccess : kFailure;
}
