#include "Measuring/NodeWorkers.h"

#include "Jobs/XProgressChangedMessage.h"
#include "NetJobs/XNetJobDeployment.h"
#include "NetJobs/XNetJobQueuePositionChangedMessage.h"
#include "Process/WInterrupt.h"
#include "Support/Failure.h"
#include "Terminal/Session.h"
#include "Threads/XPreventThreadStop.h"

#include <utility>

namespace
{
constexpr std::uint32_t kNodePeriodMS = 20; // between two evaluations of a condition
constexpr USize kJobsPerWorker = 2;         // one runs, one waits
constexpr USize kMoreJobs = 8;              // on their way; all of them before the number of workers is known
constexpr std::int64_t kNodePatienceMS = 2000;
} // namespace

NodeWorkers::NodeWorkers(
    const XNetJobDeployment& inDeployment, const std::string& inPlace, Session& ioSession )
    : itsPlace( inPlace ), itsSession( ioSession ), itsBars( ioSession.progress ), itsQueue( inDeployment )
{
    MeasurePageJob::Register();
    Subscribe( itsQueue );
}

NodeWorkers::~NodeWorkers()
{
    const XPreventThreadStop preventStop;
    StopListening();
    itsQueue.Stop();
}

void NodeWorkers::Start()
{
    ConnectWithExplanation( [this] { itsQueue.Start(); } );
    ReportConnection();
}

void NodeWorkers::Submit(
    const MeasurePageJob::Request& inRequest, CachedPage* ioSamples, XPageMemory& ioMemory,
    const MeasurePageJob::Completed& inCompleted )
{
    const auto completed = [this, inCompleted]( MeasurePageJob& ioJob, std::uint32_t inResultCode )
    {
        inCompleted( ioJob, inResultCode );
        HasCompleted();
    };
    auto job = std::make_unique<MeasurePageJob>( inRequest, ioSamples, &ioMemory, completed );
    {
        const XThreadLock lock( itsMutex );
        ++itsUnfinished;
    }
    itsQueue.AttachJob( job.release() );
}

void NodeWorkers::HasCompleted()
{
    const XThreadLock lock( itsMutex );
    --itsUnfinished;
    itsHasChanged.Broadcast();
}

USize NodeWorkers::GetUnfinishedCount() const
{
    const XThreadLock lock( itsMutex );
    return itsUnfinished;
}

USize NodeWorkers::GetMostJobs() const
{
    const XThreadLock lock( itsMutex );
    return kJobsPerWorker * USize{ itsWorkers } + kMoreJobs;
}

std::uint32_t NodeWorkers::GetWorkerCount() const
{
    const XThreadLock lock( itsMutex );
    return itsWorkers;
}

void NodeWorkers::WaitUntil( const std::function<bool()>& inCondition )
{
    while ( !inCondition() )
    {
        if ( WInterrupt::IsRequested() )
            XThrow( kErrorCancelled );
        ReportConnection();
        const XThreadLock lock( itsMutex );
        itsHasChanged.Sleep( itsMutex, kNodePeriodMS, true );
    }
}

// ---- Nodes and connections

void NodeWorkers::HandleMessage( const XMessage& inMessage )
{
    if ( const auto* const position = dynamic_cast<const XNetJobQueuePositionChangedMessage*>( &inMessage ) )
        SetWorkers( position->GetWorkers() );
    using Changed = XThreadProgressStrategy::XProgressChangedMessage;
    if ( const auto* const change = dynamic_cast<const Changed*>( &inMessage ) )
        itsBars.Show( *change );
}

void NodeWorkers::SetWorkers( std::uint32_t inWorkers )
{
    bool hasChanged = false;
    bool mustWarn = false;
    {
        const XThreadLock lock( itsMutex );
        hasChanged = std::exchange( itsWorkers, inWorkers ) != inWorkers;
        mustWarn = inWorkers == 0 && itsTimer.GetElapsedMS() >= kNodePatienceMS && !itsHasWarned;
        itsHasWarned |= mustWarn;
        itsHasChanged.Broadcast();
    }
    if ( hasChanged )
        itsSession.LogInfo( itsPlace + ": " + std::to_string( inWorkers ) + " workers on nodes" );
    if ( mustWarn )
        itsSession.ReportWarning( "no node that measures images is connected to " + itsPlace + ": waiting" );
}

/// Warns once of each error of the connection.
void NodeWorkers::ReportConnection()
{
    const std::uint32_t error = itsQueue.GetConnectionError();
    {
        const XThreadLock lock( itsMutex );
        if ( std::exchange( itsReportedError, error ) == error )
            return;
    }
    if ( error != 0 )
        itsSession.ReportWarning(
            "cannot connect to " + itsPlace + ", will try again: " + DescribeConnectionError( error ).text );
}
