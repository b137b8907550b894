// Jobs wait in the node's own list, so that they can be recalled; as many as there are workers are in a local job queue. A
// local job reads, runs and stores one network job.

#include "NetJobs/XNetJobQueueNode.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XErrorLog.h"
#include "Core/Streams/XClassRegistry.h"
#include "Core/Times/XTimer.h"
#include "Jobs/XJob.h"
#include "Jobs/XJobQueue.h"
#include "Jobs/XProgressChangedMessage.h"
#include "Memory/WMemoryLimits.h"
#include "Memory/XMemoryManager.h"
#include "NetJobs/Internal/XJobEvents.h"
#include "NetJobs/Internal/XNetJobScheduler.h"
#include "NetJobs/Internal/XNetJobSession.h"
#include "NetJobs/Internal/XStoredBytes.h"
#include "NetJobs/Internal/XTakeBatch.h"
#include "NetJobs/XJobProgressInfo.h"
#include "NetJobs/XNetJob.h"
#include "NetJobs/XNetJobResult.h"
#include "Threads/XPreventThreadStop.h"

#include <algorithm>
#include <deque>
#include <map>
#include <optional>
#include <utility>

namespace
{

using XJobEvents::GetKey;
using XJobEvents::MakeEvent;
using XJobKey = XNetJobScheduler::XJobKey;
using XEvents = XVector<XNetJobEvent>;
using XProgressChanged = XThreadProgressStrategy::XProgressChangedMessage;

constexpr std::int64_t kProgressPeriodMS = 200;
constexpr std::int64_t kMemoryPeriodMS = 1000;
constexpr std::uint32_t kLogOffMS = 1000;
constexpr USize64 kMostBatchBytes = 16 * 1024 * 1024;

/// All queues of the process share its workers. A job that waited for one of these could not be recalled.
std::uint32_t ChooseWorkers( std::uint32_t inWorkers )
{
    const std::uint32_t most = XThread::GetProcessorCount();
    return inWorkers > 0 ? std::min( inWorkers, most ) : most;
}

/// The end of a job as an event. A result that cannot be stored is replaced by the error.
XNetJobEvent MakeEnd(
    const XJobKey& inKey, std::uint32_t inResultCode, std::unique_ptr<XNetJobResult> inResult,
    std::int64_t inRunMicroseconds )
{
    const auto store = [&]( XNetJobResult& ioResult, std::uint32_t inCode )
    {
        ioResult.SetJobID( inKey.jobID );
        ioResult.SetResultCode( inCode );
        return MakeEvent(
            XNetJobEvent::kEnded, inKey, static_cast<std::uint64_t>( inRunMicroseconds ),
            XStoreAsBytes( ioResult ) );
    };
    XNetJobResult plain;
    try
    {
        return store( inResult ? *inResult : plain, inResultCode );
    }
    catch ( const XException& error )
    {
        XErrorLog::AddCurrentException();
        return store( plain, error.GetErrorNumber() );
    }
}

struct NodeJob
{
    XVector<std::uint8_t> bytes; // while it waits
    std::uint64_t serial = 0;    // its place among the waiting jobs, and its tag in the local queue
    bool isRunning = false;      // in the local queue
    bool hasStarted = false;
    bool isReturning = false;        // to be stopped: an end without success counts as no end
    std::optional<XNetJobEvent> end; // has ended: until it is taken
    XNetJobQueue::XJobProgressInfo progress;
};

} // namespace

class XNetJobQueueNode::XImp
{
public:
    XImp( const XNetJobDeployment& inDeployment, const XSettings& inSettings );
    ~XImp();

    void Start();
    void Stop( std::uint32_t inTimeoutMS );
    bool IsConnected() const { return itsSession.IsConnected(); }
    std::uint32_t GetConnectionError() const { return itsSession.GetConnectionError(); }
    USize GetJobCount() const;

    // Called on workers.
    void JobHasStarted( const XJobKey& inKey, std::uint64_t inSerial );
    void JobHasEnded(
        const XJobKey& inKey, std::uint64_t inSerial, std::uint32_t inResultCode,
        std::unique_ptr<XNetJobResult> inResult, std::int64_t inRunMicroseconds );
    void
    ProgressHasChanged( const XJobKey& inKey, std::uint64_t inSerial, const XProgressChanged& inMessage );

private:
    using Jobs = std::map<XJobKey, NodeJob>;

    static constexpr USize64 kNotReported = ~USize64( 0 );

    std::uint32_t LogOn( XControlBridge& ioBridge, std::uint32_t inFormerID );
    XEvents ReportJobs();
    XEvents TakeEvents();
    void AddProgress( XEvents& ioEvents );
    void AddMemory( XEvents& ioEvents );
    void HandleEvents( const XEvents& inEvents );
    void HandleEvent( const XNetJobEvent& inEvent );
    void Assign( const XNetJobEvent& inEvent );
    void StopJob( const XJobKey& inKey );
    void Recall( const XJobKey& inKey );
    void Forget( const XJobKey& inKey );

    // Under the mutex.
    NodeJob* FindRunning( const XJobKey& inKey, std::uint64_t inSerial );
    void RunNext();
    void Post( XNetJobEvent inEvent );
    void ReturnWaiting( Jobs::iterator inJob );

    const XSettings itsSettings;
    const std::uint32_t itsWorkers;

    mutable XMutex itsMutex; // guards the following; taken before the mutexes of the session and of the queue
    XConditionVariable itsJobHasEnded;
    Jobs itsJobs;
    std::map<std::uint64_t, XJobKey> itsWaitingJobs; // by serial number
    USize itsRunningCount = 0;
    std::uint64_t itsLastSerial = 0;
    std::deque<XNetJobEvent> itsOutgoing;
    XTimer itsProgressTimer;
    XTimer itsMemoryTimer;
    USize64 itsReportedMemory = kNotReported; // since the logon
    USize64 itsReportedBudget = kNotReported;
    bool itsIsStopping = false;

    XJobQueue itsQueue;
    XNetJobSession itsSession; // the last, since its threads use the others
};

namespace
{

/// Runs a network job. `TNode` is XNetJobQueueNode::XImp.
template<class TNode>
class LocalJob : public XJob
{
public:
    LocalJob( TNode& ioNode, const XJobKey& inKey, std::uint64_t inSerial, XVector<std::uint8_t> inBytes )
        : itsNode( ioNode ), itsKey( inKey ), itsSerial( inSerial ), itsBytes( std::move( inBytes ) ),
          itsStrategy( *this )
    {
        SetTag( static_cast<std::int64_t>( inSerial ) );
        SetProgressStrategy( &itsStrategy );
    }

    bool CanCompleteInJobThread() override { return true; }
    bool ShouldSendCompletedMessage() override { return false; }

protected:
    void RunJobSelf() override
    {
        itsTimer.Restart();
        itsNode.JobHasStarted( itsKey, itsSerial );
        const auto job = XReadFromBytes<XNetJob>( itsBytes );
        itsBytes = {}; // they may be as large as the job's data
        job->SetProgressStrategy( &itsStrategy );
        job->RunJob();
        SetResultCode( job->GetResultCode() );
        itsResult = job->TakeResult();
    }

    void JobCompleteSelf( std::uint32_t inResultCode ) override
    {
        itsNode.JobHasEnded(
            itsKey, itsSerial, inResultCode, std::move( itsResult ), itsTimer.GetElapsedUS() );
    }

private:
    /// Passes each change on at once.
    class Strategy : public XThreadProgressStrategy
    {
    public:
        explicit Strategy( LocalJob& inJob ) : itsJob( inJob ) {}
        void SpeakMessage( const XMessage& inMessage, XWhen ) override
        {
            if ( const auto* const message = dynamic_cast<const XProgressChanged*>( &inMessage ) )
                itsJob.itsNode.ProgressHasChanged( itsJob.itsKey, itsJob.itsSerial, *message );
        }

    private:
        LocalJob& itsJob;
    };

    TNode& itsNode;
    const XJobKey itsKey;
    const std::uint64_t itsSerial;
    XVector<std::uint8_t> itsBytes;
    std::unique_ptr<XNetJobResult> itsResult;
    XTimer itsTimer;
    Strategy itsStrategy;
};

} // namespace

// ---- Life

XNetJobQueueNode::XImp::XImp( const XNetJobDeployment& inDeployment, const XSettings& inSettings )
    : itsSettings( inSettings ), itsWorkers( ChooseWorkers( inSettings.workers ) ),
      itsSession(
          inDeployment,
          { [this]( XControlBridge& ioBridge, std::uint32_t inFormerID )
            { return LogOn( ioBridge, inFormerID ); },
            [this] { return TakeEvents(); },
            [this]( const XEvents& inEvents ) { HandleEvents( inEvents ); } } )
{
}

XNetJobQueueNode::XImp::~XImp()
{
    const XPreventThreadStop preventStop; // of the calling thread
    XSwallowErrors( [this] { Stop( 0 ); } );
}

void XNetJobQueueNode::XImp::Start()
{
    {
        const XThreadLock lock( itsMutex );
        itsIsStopping = false;
    }
    itsQueue.Start();
    itsSession.Start();
}

void XNetJobQueueNode::XImp::Stop( std::uint32_t inTimeoutMS )
{
    {
        const XTimer timer( inTimeoutMS );
        const XThreadLock lock( itsMutex );
        itsIsStopping = true;
        Post( { XNetJobEvent::kAcceptsNoJobs, 0, 0, 0 } );
        while ( !itsWaitingJobs.empty() )
            ReturnWaiting( itsJobs.find( itsWaitingJobs.begin()->second ) );
        while ( itsRunningCount > 0 && !timer.HasExpired() )
            itsJobHasEnded.Sleep( itsMutex, timer.GetRemainingMS(), true );
        for ( auto& [key, job] : itsJobs )
            job.isReturning = true;
    }
    itsQueue.Stop();
    itsSession.Stop( kLogOffMS );
    const XThreadLock lock( itsMutex );
    itsJobs.clear();
    itsOutgoing.clear();
}

USize XNetJobQueueNode::XImp::GetJobCount() const
{
    const XThreadLock lock( itsMutex );
    return itsWaitingJobs.size() + itsRunningCount;
}

// ---- Logon and sending

std::uint32_t XNetJobQueueNode::XImp::LogOn( XControlBridge& ioBridge, std::uint32_t inFormerID )
{
    const XEvents reports = ReportJobs();
    const XLogonInfo info(
        itsSettings.type, XAppVersion::XAppAndComputerInfo::GetCurrent( itsSettings.name ),
        XClassRegistry::GetDerivedClasses( XNetJob::GetClassVersion(), true ), !reports.empty(), itsWorkers );
    return ioBridge.LogOnNode( info, inFormerID, reports ).GetClientID();
}

/// The jobs that the node has, with or without a result. Results follow in batches of limited size.
XEvents XNetJobQueueNode::XImp::ReportJobs()
{
    const XThreadLock lock( itsMutex );
    XEvents reports;
    itsOutgoing.clear();
    itsReportedMemory = itsReportedBudget = kNotReported;
    if ( itsIsStopping )
        Post( { XNetJobEvent::kAcceptsNoJobs, 0, 0, 0 } );
    for ( const auto& [key, job] : itsJobs )
    {
        reports.push_back( MakeEvent( XNetJobEvent::kHolds, key ) );
        if ( job.end )
            Post( *job.end );
        else if ( job.hasStarted )
            Post( MakeEvent( XNetJobEvent::kStarted, key ) );
    }
    return reports;
}

void XNetJobQueueNode::XImp::Post( XNetJobEvent inEvent )
{
    itsOutgoing.push_back( std::move( inEvent ) );
    itsSession.Wake();
}

XEvents XNetJobQueueNode::XImp::TakeEvents()
{
    const XThreadLock lock( itsMutex );
    const auto isNeedless = [this]( const XNetJobEvent& inEvent )
    {
        if ( inEvent.kind != XNetJobEvent::kStarted )
            return false;
        const auto job = itsJobs.find( GetKey( inEvent ) );
        return job == itsJobs.end() || job->second.end;
    };
    std::erase_if( itsOutgoing, isNeedless );
    XEvents events = XTakeBatch( itsOutgoing, kMostBatchBytes );
    if ( itsProgressTimer.GetElapsedMS() >= kProgressPeriodMS )
        AddProgress( events );
    if ( itsReportedMemory == kNotReported || itsMemoryTimer.GetElapsedMS() >= kMemoryPeriodMS )
        AddMemory( events );
    return events;
}

/// The memory of the process and the budget of its blocks if they have changed.
void XNetJobQueueNode::XImp::AddMemory( XEvents& ioEvents )
{
    itsMemoryTimer.Restart();
    const auto report = [&]( XNetJobEvent::XKind inKind, USize64 inBytes, USize64& ioReported )
    {
        if ( std::exchange( ioReported, inBytes ) != inBytes )
            ioEvents.push_back( { inKind, 0, 0, 0, inBytes } );
    };
    report( XNetJobEvent::kMemoryInUse, WMemoryLimits::GetProcessBytes(), itsReportedMemory );
    if ( const XMemoryManager* const manager = XMemoryManager::GetManager() )
        report( XNetJobEvent::kMemoryBudget, manager->GetBudget(), itsReportedBudget );
}

void XNetJobQueueNode::XImp::AddProgress( XEvents& ioEvents )
{
    itsProgressTimer.Restart();
    for ( auto& [key, job] : itsJobs )
        if ( job.hasStarted && !job.end && job.progress.GetChangeFlags() != 0 )
        {
            ioEvents.push_back( MakeEvent( XNetJobEvent::kProgress, key, 0, XStoreAsBytes( job.progress ) ) );
            job.progress.ClearChangeFlags();
        }
}

// ---- Receiving

void XNetJobQueueNode::XImp::HandleEvents( const XEvents& inEvents )
{
    for ( const XNetJobEvent& event : inEvents )
        HandleEvent( event );
    const XThreadLock lock( itsMutex );
    RunNext();
}

void XNetJobQueueNode::XImp::HandleEvent( const XNetJobEvent& inEvent )
{
    switch ( inEvent.kind )
    {
    case XNetJobEvent::kAssign:
        return Assign( inEvent );
    case XNetJobEvent::kStop:
        return StopJob( GetKey( inEvent ) );
    case XNetJobEvent::kRecall:
        return Recall( GetKey( inEvent ) );
    case XNetJobEvent::kTaken:
        return Forget( GetKey( inEvent ) );
    default:
        return;
    }
}

void XNetJobQueueNode::XImp::Assign( const XNetJobEvent& inEvent )
{
    const XThreadLock lock( itsMutex );
    const XJobKey key = GetKey( inEvent );
    if ( itsIsStopping )
        return Post( MakeEvent( XNetJobEvent::kReturned, key ) );
    const auto [found, isNew] = itsJobs.try_emplace( key );
    NodeJob& job = found->second;
    if ( job.end )
        return Post( *job.end );
    if ( !isNew )
        return;
    job.bytes = inEvent.bytes;
    job.serial = ++itsLastSerial;
    job.progress = XNetJobQueue::XJobProgressInfo( key.jobID );
    itsWaitingJobs.emplace( job.serial, key );
}

/// Returns a job that waits now, one that runs at its next checkpoint. The end of a stopped run is not reported as a
/// result: the client may have submitted the job again meanwhile.
void XNetJobQueueNode::XImp::StopJob( const XJobKey& inKey )
{
    std::uint64_t serial = 0;
    {
        const XThreadLock lock( itsMutex );
        const auto found = itsJobs.find( inKey );
        if ( found == itsJobs.end() || found->second.end )
            return;
        serial = found->second.serial;
        if ( itsWaitingJobs.contains( serial ) )
            return ReturnWaiting( found );
        found->second.isReturning = true;
    }
    itsQueue.AsyncStopTaggedJobs( static_cast<std::int64_t>( serial ) );
}

/// Returns a job that waits.
void XNetJobQueueNode::XImp::Recall( const XJobKey& inKey )
{
    const XThreadLock lock( itsMutex );
    const auto found = itsJobs.find( inKey );
    if ( found != itsJobs.end() && itsWaitingJobs.contains( found->second.serial ) )
        ReturnWaiting( found );
}

void XNetJobQueueNode::XImp::Forget( const XJobKey& inKey )
{
    std::uint64_t serial = 0;
    {
        const XThreadLock lock( itsMutex );
        const auto found = itsJobs.find( inKey );
        if ( found == itsJobs.end() )
            return;
        serial = found->second.serial;
        const bool isRunning = found->second.isRunning;
        itsWaitingJobs.erase( serial );
        itsJobs.erase( found );
        if ( !isRunning )
            return;
    }
    itsQueue.AsyncStopTaggedJobs( static_cast<std::int64_t>( serial ) );
}

void XNetJobQueueNode::XImp::ReturnWaiting( Jobs::iterator inJob )
{
    Post( MakeEvent( XNetJobEvent::kReturned, inJob->first ) );
    itsWaitingJobs.erase( inJob->second.serial );
    itsJobs.erase( inJob );
}

// ---- Running

void XNetJobQueueNode::XImp::RunNext()
{
    while ( itsRunningCount < itsWorkers && !itsWaitingJobs.empty() )
    {
        const auto [serial, key] = *itsWaitingJobs.begin();
        NodeJob& job = itsJobs.at( key );
        auto local = std::make_unique<LocalJob<XImp>>( *this, key, serial, std::move( job.bytes ) );
        itsQueue.AttachJob( local.get() );
        local.release();
        job.bytes = {};
        job.isRunning = true;
        ++itsRunningCount;
        itsWaitingJobs.erase( serial );
    }
}

/// Null for a job that has been forgotten meanwhile, even if it was assigned again.
NodeJob* XNetJobQueueNode::XImp::FindRunning( const XJobKey& inKey, std::uint64_t inSerial )
{
    const auto found = itsJobs.find( inKey );
    return found != itsJobs.end() && found->second.serial == inSerial ? &found->second : nullptr;
}

void XNetJobQueueNode::XImp::JobHasStarted( const XJobKey& inKey, std::uint64_t inSerial )
{
    const XThreadLock lock( itsMutex );
    NodeJob* const job = FindRunning( inKey, inSerial );
    if ( !job )
        return;
    job->hasStarted = true;
    Post( MakeEvent( XNetJobEvent::kStarted, inKey ) );
}

void XNetJobQueueNode::XImp::ProgressHasChanged(
    const XJobKey& inKey, std::uint64_t inSerial, const XProgressChanged& inMessage )
{
    constexpr std::uint32_t kOutermost = 1;
    const bool isValue = inMessage.GetChangeType() == XProgressChanged::kProgressChanged;
    const bool isText = inMessage.GetChangeType() == XProgressChanged::kMessageChanged;
    if ( inMessage.GetLevel() != kOutermost || ( !isValue && !isText ) )
        return;
    const XThreadLock lock( itsMutex );
    NodeJob* const job = FindRunning( inKey, inSerial );
    if ( !job )
        return;
    const XNetJobQueue::XJobProgressInfo before = job->progress;
    job->progress = XNetJobQueue::XJobProgressInfo(
        inKey.jobID, isValue ? inMessage.GetValue() : before.GetProgress(),
        isText ? inMessage.GetText() : before.GetMessage() );
    job->progress.SetChangeFlags(
        before.GetChangeFlags() |
        static_cast<std::uint32_t>(
            isValue ? XNetJobQueue::XJobProgressInfo::kProgressChanged
                    : XNetJobQueue::XJobProgressInfo::kMessageChanged ) );
    if ( itsProgressTimer.GetElapsedMS() >= kProgressPeriodMS )
        itsSession.Wake();
}

void XNetJobQueueNode::XImp::JobHasEnded(
    const XJobKey& inKey, std::uint64_t inSerial, std::uint32_t inResultCode,
    std::unique_ptr<XNetJobResult> inResult, std::int64_t inRunMicroseconds )
{
    XNetJobEvent end = MakeEnd( inKey, inResultCode, std::move( inResult ), inRunMicroseconds );
    const XThreadLock lock( itsMutex );
    --itsRunningCount;
    itsJobHasEnded.Broadcast();
    if ( NodeJob* const job = FindRunning( inKey, inSerial ) )
    {
        const bool wasStopped = inResultCode == XJob::kStopped || inResultCode == kErrorThreadStopped;
        if ( wasStopped || ( job->isReturning && inResultCode != 0 ) )
        {
            itsJobs.erase( inKey );
            Post( MakeEvent( XNetJobEvent::kReturned, inKey ) );
        }
        else
        {
            job->isRunning = false;
            job->end = end;
            Post( std::move( end ) );
        }
    }
    RunNext();
}

// ---- The interface

XNetJobQueueNode::XNetJobQueueNode( const XNetJobDeployment& inDeployment, const XSettings& inSettings )
    : itsImp( std::make_unique<XImp>( inDeployment, inSettings ) )
{
}

XNetJobQueueNode::~XNetJobQueueNode() = default;

void XNetJobQueueNode::Start()
{
    itsImp->Start();
}

void XNetJobQueueNode::Stop( std::uint32_t inTimeoutMS )
{
    itsImp->Stop( inTimeoutMS );
}

bool XNetJobQueueNode::IsConnected() const
{
    return itsImp->IsConnected();
}

std::uint32_t XNetJobQueueNode::GetConnectionError() const
{
    return itsImp->GetConnectionError();
}

USize XNetJobQueueNode::GetJobCount() const
{
    return itsImp->GetJobCount();
}
