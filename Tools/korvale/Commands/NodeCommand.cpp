#include "Commands/NodeCommand.h"

#include "Core/Strings/XByteCount.h"
#include "Core/Times/XTimer.h"
#include "Measuring/MeasurePageJob.h"
#include "NetJobs/XNetJobDeployment.h"
#include "NetJobs/XNetJobQueueNode.h"
#include "Options/CommandLine.h"
#include "Options/MemoryBudget.h"
#include "Options/OptionChecks.h"
#include "Process/WInterrupt.h"
#include "Support/Failure.h"
#include "Support/NetworkPlace.h"
#include "Terminal/Session.h"
#include "Threads/XThread.h"

#include <utility>

namespace
{
/// From an interrupt to the end: running jobs may end for most of the time.
constexpr std::uint32_t kNodeGraceMS = 10'000;
constexpr std::uint32_t kRunningJobsMS = 5'000;
constexpr std::uint32_t kIdleWatchMS = 50;
constexpr double kMostIdleSeconds = 1e6;
} // namespace

void NodeCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain(
        std::string( "Prints \"connected to HOST:PORT\" when it has logged on. Runs until it is\n"
                     "interrupted (Ctrl-C, SIGTERM), then returns jobs that have not started, lets the\n"
                     "others run for five seconds and returns those that are left. When the control\n"
                     "service cannot be reached, it connects again, with pauses of up to ten seconds.\n"
                     "\n" ) +
        ProtectionOptions::kHelp +
        "\n"
        "Example\n"
        "  korvale node --control 127.0.0.1:7610 --workers 4\n"
        "\n"
        "Exit status: 0 when interrupted or idle, 1 after a failure, 2 for wrong usage." );
    inOptions.Add( "--control", itsControl, "Where the control service listens" )
        .Takes( "HOST:PORT" )
        .Check( NetworkPlace::Check )
        .Required();
    inOptions.Add( "--workers", itsWorkers, "Jobs to run at once [one per processor, the most]" )
        .Takes( "N" )
        .IsBetween( 1u, 1024u );
    inOptions.Add( "--memory", itsMemory, "Memory to use, e.g. 512M, 1.5G [60 % of all]" )
        .Takes( "SIZE" )
        .Check( CheckByteCount );
    inOptions.Add( "--name", itsName, "Name of the node [that of the computer]" ).Takes( "TEXT" );
    inOptions.Add( "--idle-exit", itsIdleExit, "End after that long without a job [never]" )
        .Takes( "SECONDS" )
        .IsBetween( 0.0, kMostIdleSeconds );
    itsProtection.Declare( inOptions );
}

int NodeCommand::Run( Session& ioSession )
{
    WInterrupt::BeginService( kNodeGraceMS );
    const NetworkPlace place( itsControl );
    bool isLoopBack = false;
    if ( !Try( ioSession, itsControl, [&] { isLoopBack = place.IsLoopBack(); } ) )
        return kFailure;
    const auto protection =
        itsProtection.Choose( isLoopBack, XDeploymentKeys::kRoleNode, XDeploymentKeys::kRoleControlService );
    if ( protection.isWeak )
        ioSession.ReportWarning( "without TLS, others in the network can read and change what is sent" );
    const MemoryBudget budget( XParseByteCount( itsMemory ) );
    MeasurePageJob::Register();
    XNetJobQueueNode node(
        { place.GetAddress(), protection.cipher, protection.tls },
        { XString::FromUTF8( itsName ), XNetJobQueueNode::kNodePermanent, itsWorkers } );
    return Try( ioSession, itsControl, [&] { Work( node, ioSession ); } ) ? kSuccess : kFailure;
}

void NodeCommand::Work( XNetJobQueueNode& ioNode, Session& ioSession ) const
{
    ConnectWithExplanation( [&] { ioNode.Start(); } );
    bool wasConnected = false;
    std::uint32_t reportedError = 0;
    for ( XTimer idle; !WInterrupt::IsRequested(); XThread::SleepCurrentThread( kIdleWatchMS ) )
    {
        const bool isConnected = ioNode.IsConnected();
        if ( isConnected != wasConnected )
        {
            const std::string text = ( isConnected ? "connected to " : "no connection to " ) + itsControl;
            ioSession.out << text << std::endl;
            ioSession.LogInfo( text );
        }
        wasConnected = isConnected;
        const std::uint32_t error = ioNode.GetConnectionError();
        if ( std::exchange( reportedError, error ) != error && error != 0 )
            ioSession.ReportWarning(
                "cannot connect to " + itsControl +
                ", will try again: " + DescribeConnectionError( error ).text );
        if ( ioNode.GetJobCount() > 0 )
            idle.Restart();
        if ( itsIdleExit != kNever && idle.GetElapsedSeconds() >= itsIdleExit )
            break;
    }
    ioNode.Stop( kRunningJobsMS );
}
