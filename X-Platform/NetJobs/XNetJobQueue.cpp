// A job is in itsJobs from its attachment to its end. It is submitted in the order of itsUnsubmitted, as far as the window
// has room: the control service would otherwise hold the bytes of all jobs. After a logon all jobs are submitted again.
//
// Jobs that have ended are in itsEndedJobs until the main thread completes them; those that are stopped or deleted belong
// to the thread that does so, and are counted until it has finished.

#include "NetJobs/XNetJobQueue.h"

#include "Core/Errors/XErrorLog.h"
#include "Core/Times/XTimer.h"
#include "Jobs/Internal/XCallHook.h"
#include "Jobs/XJobCompletedMessage.h"
#include "Jobs/XProgress.h"
#include "Jobs/XProgressChangedMessage.h"
#include "Messaging/Internal/XDeferredNotice.h"
#include "NetJobs/Internal/XNetJobSession.h"
#include "NetJobs/Internal/XStoredBytes.h"
#include "NetJobs/XJobProgressInfo.h"
#include "NetJobs/XNetJob.h"
#include "NetJobs/XNetJobCompletedMessage.h"
#include "NetJobs/XNetJobQueuePositionChangedMessage.h"
#include "NetJobs/XNetJobResult.h"
#include "Services/XSessionLogManager.h"
#include "Threads/XPreventThreadStop.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <map>
#include <new>
#include <optional>
#include <set>
#include <span>
#include <typeinfo>
#include <utility>

namespace
{

using XEvents = XVector<XNetJobEvent>;
using XProgressChanged = XThreadProgressStrategy::XProgressChangedMessage;

// Of the jobs that have been submitted and have not ended.
constexpr USize kMostJobs = 100'000;
constexpr USize kMostBytes = 64 * 1024 * 1024;
// Of the jobs submitted in one call.
constexpr USize kMostBatchJobs = 2000;
constexpr USize kMostSubmittedBytes = 4 * 1024 * 1024;

constexpr std::uint32_t kMostProgress = 1000; // per mille
constexpr std::uint32_t kQueueLogOffMS = 1000;
constexpr std::uint32_t kEmptyProgressDelayMS = 2000;
constexpr std::uint32_t kEmptyProgressSleepMS = 100; // between two looks for an abort

struct ClientJob
{
    enum State
    {
        kWaiting,
        kRunning,
        kSuspended
    };

    std::unique_ptr<XNetJob> job;
    State state = kWaiting;
    bool isSubmitted = false;  // since the last logon
    bool mayBeKnown = false;   // the control service may know it, if only from an earlier logon
    bool wasSuspended = false; // the control service has or had a request to suspend it
    std::unique_ptr<XNetJobQueue::XJobProgressInfo>
        progress;            // as listeners know it; null before the first report
    USize bytes = 0;         // in the window
    std::uint64_t place = 0; // among the waiting jobs
    std::int64_t tag = 0;    // that it had when it was attached
};

struct EndedJob
{
    std::uint32_t id;
    std::unique_ptr<XNetJob> job;
    std::uint32_t resultCode;
    bool hasBar;
};

/// The number of an exception of a job or result that is stored or read.
std::uint32_t GetNumber( const std::exception& inError )
{
    if ( const auto* const error = dynamic_cast<const XException*>( &inError ) )
        return error->GetErrorNumber();
    return dynamic_cast<const std::bad_alloc*>( &inError ) ? kErrorOutOfMemory : kErrorInternal;
}

/// A message may be on its way to the job, on the main thread: the job ends when that has returned.
void Delete( std::unique_ptr<XNetJob> inJob )
{
    inJob->StopListening();
}

std::atomic<std::uint32_t> sLastQueueID = 0;

} // namespace

class XNetJobQueue::XImp
{
public:
    /// Notifies the queue, on the main thread, that jobs have ended.
    class XEndedMessage : public XMessage
    {
    public:
        using XMessage::XMessage;
        XEndedMessage* Clone() const override { return new XEndedMessage( *this ); }
    };

    XImp( XNetJobQueue& ioQueue, const XNetJobDeployment& inDeployment );

    void Start();
    void Stop();
    void End();
    bool IsRunning() const;
    bool IsConnected() const { return itsSession.IsConnected(); }
    std::uint32_t GetConnectionError() const { return itsSession.GetConnectionError(); }

    void Attach( XNetJob* inJob, bool inIsSuspended );
    bool AttachIfTagNotPresent( XNetJob* inJob );
    bool StopJobs( const XJobSelector& inSelector, bool inWithRunning );
    bool DeleteJobs( const XJobSelector& inSelector, bool inWithRunning );
    void Suspend( const XJobSelector& inSelector );
    void Resume( const XJobSelector& inSelector );
    void PostToJobs( const XJobSelector& inSelector, const XMessage& inMessage );
    void CompleteEndedJobs();

    bool SleepUntilEmpty( std::uint32_t inTimeoutMS );
    void WaitForWeightUnderCommit( double inCommit );
    void WaitForRunning( const XJobSelector& inSelector );
    USize GetWeight() const;
    USize GetJobCount() const;
    USize Count( ClientJob::State inState ) const;

private:
    using Jobs = std::map<std::uint32_t, ClientJob>;            // by ID
    using WaitingJob = std::pair<std::uint64_t, std::uint32_t>; // its place and its ID
    using TaggedJob = std::pair<std::int64_t, std::uint32_t>;   // its tag and its ID

    std::uint32_t LogOn( XControlBridge& ioBridge, std::uint32_t inFormerID );
    void PrepareLogon();
    XEvents TakeEvents();
    void HandleEvents( const XEvents& inEvents );
    void HandleEvent( const XNetJobEvent& inEvent );
    void HandleResult( const XNetJobEvent& inEvent );
    void HandleFailure( const XNetJobEvent& inEvent );
    void HandleStart( std::uint32_t inJobID );
    void HandleProgress( const XNetJobEvent& inEvent );
    void HandlePosition( const XNetJobEvent& inEvent );
    void SpeakProgress( std::uint32_t inJobID, const XProgressChanged::XChange& inChange );
    void Complete( EndedJob inJob );

    // Under the mutex.
    void Post( XNetJobEvent::XKind inKind, std::uint32_t inJobID );
    bool HasRoom() const;
    bool Submit( const WaitingJob& inWaiting, XEvents& ioEvents, USize& ioBytes );
    void Append( std::uint32_t inJobID, ClientJob& ioJob );
    void SetState( ClientJob& ioJob, ClientJob::State inState );
    bool IsTagPresent( std::int64_t inTag ) const;
    XVector<std::uint32_t> FindTagged( std::span<const std::int64_t> inTags ) const;
    template<class TVisit>
    void VisitSelected( const XJobSelector& inSelector, const TVisit& inVisit );
    void End( std::uint32_t inJobID, std::uint32_t inResultCode, std::unique_ptr<XNetJobResult> inResult );
    EndedJob Remove( Jobs::iterator inJob, std::uint32_t inResultCode );
    std::deque<EndedJob> Take( const XJobSelector& inSelector, bool inWithRunning );
    void TakenJobsHaveGone( USize inCount );
    bool IsAnyRunning( const XJobSelector& inSelector );

    XNetJobQueue& itsQueue;
    const std::uint32_t itsQueueID = ++sLastQueueID;

    mutable XMutex itsMutex; // guards the following; taken before the mutex of the session
    XConditionVariable itsHasChanged;
    Jobs itsJobs;
    std::set<TaggedJob> itsTaggedJobs;      // all of them
    std::array<USize, 3> itsCounts{};       // of the jobs by state
    std::deque<WaitingJob> itsUnsubmitted;  // in order; may contain jobs that are suspended, moved or gone
    std::set<std::uint32_t> itsStoppedJobs; // of those submitted, not yet reported as ended
    XEvents itsOutgoing;
    std::deque<EndedJob> itsEndedJobs;
    USize itsTakenCount = 0; // being stopped or deleted
    USize itsCompletingCount = 0;
    USize itsWindowJobs = 0;
    USize itsWindowBytes = 0;
    std::uint32_t itsLastJobID = 0;
    std::uint64_t itsLastPlace = 0;
    std::uint32_t itsClientID = 0;
    std::uint32_t itsWorkers = 1; // of the deployment, at least 1
    bool itsIsRunning = false;

    XDeferredNotice itsNotice;
    XNetJobSession itsSession; // the last, since its threads use the others
};

// ---- Life

XNetJobQueue::XImp::XImp( XNetJobQueue& ioQueue, const XNetJobDeployment& inDeployment )
    : itsQueue( ioQueue ), itsNotice( std::make_unique<XEndedMessage>( &ioQueue ), ioQueue ),
      itsSession(
          inDeployment,
          { [this]( XControlBridge& ioBridge, std::uint32_t inFormerID )
            { return LogOn( ioBridge, inFormerID ); },
            [this] { return TakeEvents(); },
            [this]( const XEvents& inEvents ) { HandleEvents( inEvents ); } } )
{
}

void XNetJobQueue::XImp::Start()
{
    itsSession.Start();
    const XThreadLock lock( itsMutex );
    itsIsRunning = true;
}

bool XNetJobQueue::XImp::IsRunning() const
{
    const XThreadLock lock( itsMutex );
    return itsIsRunning;
}

void XNetJobQueue::XImp::Stop()
{
    {
        const XThreadLock lock( itsMutex );
        itsIsRunning = false;
    }
    StopJobs( XJobSelector::EveryJob(), true );
    itsSession.Stop( kQueueLogOffMS );
    const XThreadLock lock( itsMutex );
    itsStoppedJobs.clear();
    itsOutgoing.clear();
}

/// From now on no message reaches the queue.
void XNetJobQueue::XImp::End()
{
    itsNotice.Withdraw();
}

// ---- Logon and sending

std::uint32_t XNetJobQueue::XImp::LogOn( XControlBridge& ioBridge, std::uint32_t inFormerID )
{
    PrepareLogon();
    const std::uint32_t id =
        ioBridge.LogOnClient( XAppVersion::XAppAndComputerInfo::GetCurrent(), inFormerID ).GetClientID();
    const XThreadLock lock( itsMutex );
    itsClientID = id;
    return id;
}

/// Has all jobs submitted again, and sends again what the control service may have missed.
void XNetJobQueue::XImp::PrepareLogon()
{
    const XThreadLock lock( itsMutex );
    itsOutgoing.clear();
    itsUnsubmitted.clear();
    itsWindowJobs = itsWindowBytes = 0;
    for ( const std::uint32_t id : itsStoppedJobs ) // until the service has reported them as ended
        Post( XNetJobEvent::kStop, id );
    for ( auto& [id, job] : itsJobs )
    {
        job.isSubmitted = false;
        if ( job.state != ClientJob::kSuspended )
            itsUnsubmitted.push_back( { job.place, id } );
        if ( job.wasSuspended )
            Post( job.state == ClientJob::kSuspended ? XNetJobEvent::kSuspend : XNetJobEvent::kResume, id );
    }
    std::ranges::sort( itsUnsubmitted ); // resumed jobs follow those attached later
}

void XNetJobQueue::XImp::Post( XNetJobEvent::XKind inKind, std::uint32_t inJobID )
{
    itsOutgoing.push_back( { inKind, itsClientID, itsQueueID, inJobID } );
    itsSession.Wake();
}

XEvents XNetJobQueue::XImp::TakeEvents()
{
    const XThreadLock lock( itsMutex );
    XEvents events = std::exchange( itsOutgoing, {} );
    USize jobs = 0;
    USize bytes = 0;
    while ( !itsUnsubmitted.empty() && jobs < kMostBatchJobs && bytes < kMostSubmittedBytes && HasRoom() )
    {
        jobs += Submit( itsUnsubmitted.front(), events, bytes );
        itsUnsubmitted.pop_front();
    }
    return events;
}

/// Whether another job may be submitted. Each worker may have one, however large.
bool XNetJobQueue::XImp::HasRoom() const
{
    return itsWindowJobs < kMostJobs && ( itsWindowBytes < kMostBytes || itsWindowJobs < itsWorkers );
}

/// Returns whether the job is to be submitted and could be stored.
bool XNetJobQueue::XImp::Submit( const WaitingJob& inWaiting, XEvents& ioEvents, USize& ioBytes )
{
    const auto [place, id] = inWaiting;
    const auto found = itsJobs.find( id );
    if ( found == itsJobs.end() )
        return false;
    ClientJob& job = found->second;
    if ( job.place != place || job.state == ClientJob::kSuspended || job.isSubmitted )
        return false;
    try
    {
        job.job->SetClientID( itsClientID );
        XVector<std::uint8_t> stored = XStoreAsBytes( *job.job );
        job.bytes = stored.size();
        ioEvents.push_back(
            { XNetJobEvent::kSubmit, itsClientID, itsQueueID, id, job.job->GetVersion(),
              std::move( stored ) } );
    }
    catch ( const std::exception& error ) // the job's fault: passed on, it would end each connection
    {
        XErrorLog::AddCurrentException();
        End( id, GetNumber( error ), nullptr );
        return false;
    }
    job.isSubmitted = job.mayBeKnown = true;
    ioBytes += job.bytes;
    ++itsWindowJobs;
    itsWindowBytes += job.bytes;
    return true;
}

// ---- Receiving

void XNetJobQueue::XImp::HandleEvents( const XEvents& inEvents )
{
    for ( const XNetJobEvent& event : inEvents )
        try
        {
            HandleEvent( event );
        }
        catch ( const std::exception& ) // a progress or position that cannot be read
        {
            XErrorLog::AddCurrentException();
        }
}

void XNetJobQueue::XImp::HandleEvent( const XNetJobEvent& inEvent )
{
    switch ( inEvent.kind )
    {
    case XNetJobEvent::kEnded:
        return HandleResult( inEvent );
    case XNetJobEvent::kFailed:
        return HandleFailure( inEvent );
    case XNetJobEvent::kStarted:
        return HandleStart( inEvent.jobID );
    case XNetJobEvent::kProgress:
        return HandleProgress( inEvent );
    case XNetJobEvent::kPosition:
        return HandlePosition( inEvent );
    default:
        return;
    }
}

void XNetJobQueue::XImp::HandleResult( const XNetJobEvent& inEvent )
{
    std::unique_ptr<XNetJobResult> result;
    std::uint32_t resultCode = 0;
    try
    {
        result = XReadFromBytes<XNetJobResult>( inEvent.bytes );
        resultCode = result->GetResultCode();
        if ( resultCode == XJob::kStopped )
            XThrow( kErrorStreamCorrupted ); // only this queue stops its jobs
    }
    catch ( const std::exception& error )
    {
        XErrorLog::AddCurrentException();
        result.reset();
        resultCode = GetNumber( error );
    }
    const XThreadLock lock( itsMutex );
    End( inEvent.jobID, resultCode, std::move( result ) );
    Post( XNetJobEvent::kTaken, inEvent.jobID );
}

void XNetJobQueue::XImp::HandleFailure( const XNetJobEvent& inEvent )
{
    if ( !inEvent.bytes.empty() )
        XSessionLogManager::Log(
            kLogError,
            "job " + XString( inEvent.jobID ) + ": " +
                XString::FromUTF8( std::string( inEvent.bytes.begin(), inEvent.bytes.end() ) ) );
    const XThreadLock lock( itsMutex );
    End( inEvent.jobID, static_cast<std::uint32_t>( inEvent.value ), nullptr );
    Post( XNetJobEvent::kTaken, inEvent.jobID );
}

void XNetJobQueue::XImp::HandleStart( std::uint32_t inJobID )
{
    const XThreadLock lock( itsMutex );
    const auto found = itsJobs.find( inJobID );
    if ( found == itsJobs.end() )
        return;
    // The suspension came too late. If the run has been lost meanwhile, the control service has the job suspended.
    if ( found->second.state == ClientJob::kSuspended )
        Post( XNetJobEvent::kResume, inJobID );
    SetState( found->second, ClientJob::kRunning );
}

void XNetJobQueue::XImp::HandleProgress( const XNetJobEvent& inEvent )
{
    constexpr std::uint32_t kOutermost = 1;
    const auto progress = XReadFromBytes<XJobProgressInfo>( inEvent.bytes );
    const std::uint32_t value = std::min( progress->GetProgress(), kMostProgress );
    std::unique_ptr<XJobProgressInfo> before;
    {
        const XThreadLock lock( itsMutex );
        const auto found = itsJobs.find( inEvent.jobID );
        if ( found == itsJobs.end() )
            return;
        before = std::exchange( found->second.progress, std::make_unique<XJobProgressInfo>( *progress ) );
    }
    if ( !before )
        SpeakProgress( inEvent.jobID, { XProgressChanged::kBarCreated, 0, kOutermost, {} } );
    // The flags do not tell what to report: reports may have been replaced by later ones on the way.
    if ( progress->GetMessage() != ( before ? before->GetMessage() : XString() ) )
        SpeakProgress(
            inEvent.jobID, { XProgressChanged::kMessageChanged, 0, kOutermost, progress->GetMessage() } );
    if ( value != ( before ? before->GetProgress() : 0 ) )
        SpeakProgress( inEvent.jobID, { XProgressChanged::kProgressChanged, value, kOutermost, {} } );
}

void XNetJobQueue::XImp::SpeakProgress( std::uint32_t inJobID, const XProgressChanged::XChange& inChange )
{
    itsQueue.SpeakMessage( XProgressChanged( &itsQueue, inJobID, inChange ), kWhenNextEvent );
}

void XNetJobQueue::XImp::HandlePosition( const XNetJobEvent& inEvent )
{
    const auto position = XReadFromBytes<XNetJobQueuePositionChangedMessage>( inEvent.bytes );
    {
        const XThreadLock lock( itsMutex );
        itsWorkers = std::max( position->GetWorkers(), 1u );
        itsHasChanged.Broadcast();
        itsSession.Wake(); // the window may have room
    }
    itsQueue.SpeakMessage(
        XNetJobQueuePositionChangedMessage(
            &itsQueue, itsQueueID, position->GetNextJobID(), position->GetPosition(),
            position->GetWaitingJobs(), position->GetRunningJobs(), position->GetWorkers(),
            position->GetEstimatedWaitMS() ),
        kWhenNextEvent );
}

// ---- Ends

/// Does nothing for a job that has been stopped or has ended before.
void XNetJobQueue::XImp::End(
    std::uint32_t inJobID, std::uint32_t inResultCode, std::unique_ptr<XNetJobResult> inResult )
{
    itsStoppedJobs.erase( inJobID );
    const auto found = itsJobs.find( inJobID );
    if ( found == itsJobs.end() )
        return;
    EndedJob ended = Remove( found, inResultCode );
    // A body that has set no result has one of the base class.
    const XNetJobResult* const result = inResult.get();
    if ( result && typeid( *result ) != typeid( XNetJobResult ) )
        ended.job->SetResult( std::move( inResult ) );
    itsEndedJobs.push_back( std::move( ended ) );
    itsNotice.Post();
}

EndedJob XNetJobQueue::XImp::Remove( Jobs::iterator inJob, std::uint32_t inResultCode )
{
    auto& [id, job] = *inJob;
    if ( job.isSubmitted )
    {
        --itsWindowJobs;
        itsWindowBytes -= job.bytes;
        itsSession.Wake(); // the window has room
    }
    EndedJob ended{ id, std::move( job.job ), inResultCode, job.progress != nullptr };
    --itsCounts[job.state];
    itsTaggedJobs.erase( { job.tag, id } );
    itsJobs.erase( inJob );
    itsHasChanged.Broadcast();
    return ended;
}

/// Completes and deletes a job. Without the mutex, because jobs may call the queue.
void XNetJobQueue::XImp::Complete( EndedJob inJob )
{
    const XPreventThreadStop preventStop;
    XNetJob& job = *inJob.job;
    bool isAnnounced = false;
    XCallHook( [&] { job.JobComplete( inJob.resultCode ); } );
    XCallHook( [&] { isAnnounced = job.ShouldSendCompletedMessage(); } );
    const auto announce = [&]
    {
        if ( inJob.hasBar )
            SpeakProgress( inJob.id, { XProgressChanged::kBarDestroyed, 0, 0, {} } );
        if ( !isAnnounced )
            return;
        const XNetJobResult plain( inJob.id, job.GetResultCode() );
        const XNetJobResult& result = job.GetResult() ? *job.GetResult() : plain;
        itsQueue.SpeakMessage(
            XNetJobCompletedMessage( &itsQueue, 0, inJob.id, XTime::Now(), result ), kWhenNextEvent );
        itsQueue.SpeakMessage(
            XJobQueue::XJobCompletedMessage( &itsQueue, job.GetTag(), job.GetResultCode() ), kWhenNextEvent );
    };
    XCallHook( announce );
    Delete( std::move( inJob.job ) );
}

void XNetJobQueue::XImp::CompleteEndedJobs()
{
    for ( ;; )
    {
        std::optional<EndedJob> ended;
        {
            const XThreadLock lock( itsMutex );
            if ( itsEndedJobs.empty() )
                return;
            ended = std::move( itsEndedJobs.front() );
            itsEndedJobs.pop_front();
            ++itsCompletingCount;
        }
        Complete( std::move( *ended ) );
        const XThreadLock lock( itsMutex );
        --itsCompletingCount;
    }
}

// ---- Operations on jobs

void XNetJobQueue::XImp::Attach( XNetJob* inJob, bool inIsSuspended )
{
    const XThreadLock lock( itsMutex );
    const std::uint32_t id = ++itsLastJobID;
    inJob->SetJobQueueID( itsQueueID );
    ClientJob& job = itsJobs[id];
    job.state = inIsSuspended ? ClientJob::kSuspended : ClientJob::kWaiting;
    job.job.reset( inJob );
    job.tag = inJob->GetTag();
    ++itsCounts[job.state];
    itsTaggedJobs.emplace( job.tag, id );
    if ( !inIsSuspended )
        Append( id, job );
    itsSession.Wake();
}

void XNetJobQueue::XImp::Append( std::uint32_t inJobID, ClientJob& ioJob )
{
    ioJob.place = ++itsLastPlace;
    if ( !ioJob.isSubmitted )
        itsUnsubmitted.push_back( { ioJob.place, inJobID } );
}

bool XNetJobQueue::XImp::AttachIfTagNotPresent( XNetJob* inJob )
{
    const XThreadLock lock( itsMutex );
    if ( IsTagPresent( inJob->GetTag() ) )
        return false;
    Attach( inJob, false );
    return true;
}

// ---- Selected jobs

void XNetJobQueue::XImp::SetState( ClientJob& ioJob, ClientJob::State inState )
{
    --itsCounts[std::exchange( ioJob.state, inState )];
    ++itsCounts[inState];
}

/// Whether a job with the tag waits or runs.
bool XNetJobQueue::XImp::IsTagPresent( std::int64_t inTag ) const
{
    for ( auto job = itsTaggedJobs.lower_bound( { inTag, 0 } );
          job != itsTaggedJobs.end() && job->first == inTag; ++job )
        if ( itsJobs.at( job->second ).state != ClientJob::kSuspended )
            return true;
    return false;
}

/// The IDs of the jobs with these tags, in order.
XVector<std::uint32_t> XNetJobQueue::XImp::FindTagged( std::span<const std::int64_t> inTags ) const
{
    const std::set<std::int64_t> tags( inTags.begin(), inTags.end() );
    XVector<std::uint32_t> ids;
    for ( const std::int64_t tag : tags )
        for ( auto job = itsTaggedJobs.lower_bound( { tag, 0 } );
              job != itsTaggedJobs.end() && job->first == tag; ++job )
            ids.push_back( job->second );
    std::ranges::sort( ids );
    return ids;
}

/// Visits the selected jobs in the order of their IDs. The visit may remove the job.
template<class TVisit>
void XNetJobQueue::XImp::VisitSelected( const XJobSelector& inSelector, const TVisit& inVisit )
{
    if ( const std::span<const std::int64_t> tags = inSelector.GetTags(); !tags.empty() )
    {
        for ( const std::uint32_t id : FindTagged( tags ) )
            inVisit( itsJobs.find( id ) );
        return;
    }
    for ( auto next = itsJobs.begin(); next != itsJobs.end(); )
        if ( const auto job = next++; inSelector.Selects( job->second.tag, job->second.job->GetGroup() ) )
            inVisit( job );
}

/// Removes the selected jobs and has nodes stop them. They count until `TakenJobsHaveGone`.
std::deque<EndedJob> XNetJobQueue::XImp::Take( const XJobSelector& inSelector, bool inWithRunning )
{
    const XThreadLock lock( itsMutex );
    std::deque<EndedJob> taken;
    const auto take = [&]( Jobs::iterator inJob )
    {
        const auto& [id, job] = *inJob;
        if ( job.state == ClientJob::kRunning && !inWithRunning )
            return;
        if ( job.mayBeKnown )
        {
            itsStoppedJobs.insert( id );
            Post( XNetJobEvent::kStop, id );
        }
        taken.push_back( Remove( inJob, XJob::kStopped ) );
    };
    VisitSelected( inSelector, take );
    itsTakenCount += taken.size();
    return taken;
}

void XNetJobQueue::XImp::TakenJobsHaveGone( USize inCount )
{
    const XThreadLock lock( itsMutex );
    itsTakenCount -= inCount;
    itsHasChanged.Broadcast();
}

bool XNetJobQueue::XImp::StopJobs( const XJobSelector& inSelector, bool inWithRunning )
{
    std::deque<EndedJob> taken = Take( inSelector, inWithRunning );
    for ( EndedJob& job : taken )
    {
        XCallHook( [&] { job.job->Stopped(); } );
        Complete( std::move( job ) );
    }
    TakenJobsHaveGone( taken.size() );
    return !taken.empty();
}

bool XNetJobQueue::XImp::DeleteJobs( const XJobSelector& inSelector, bool inWithRunning )
{
    std::deque<EndedJob> taken = Take( inSelector, inWithRunning );
    for ( EndedJob& job : taken )
        Delete( std::move( job.job ) );
    TakenJobsHaveGone( taken.size() );
    return !taken.empty();
}

void XNetJobQueue::XImp::Suspend( const XJobSelector& inSelector )
{
    const XThreadLock lock( itsMutex );
    const auto suspend = [&]( Jobs::iterator inJob )
    {
        ClientJob& job = inJob->second;
        if ( job.state != ClientJob::kWaiting )
            return;
        SetState( job, ClientJob::kSuspended );
        XCallHook( [&] { job.job->Suspended(); } );
        if ( !job.mayBeKnown )
            return;
        job.wasSuspended = true;
        Post( XNetJobEvent::kSuspend, inJob->first );
    };
    VisitSelected( inSelector, suspend );
}

/// The control service resumes jobs that have been submitted.
void XNetJobQueue::XImp::Resume( const XJobSelector& inSelector )
{
    const XThreadLock lock( itsMutex );
    const auto resume = [&]( Jobs::iterator inJob )
    {
        ClientJob& job = inJob->second;
        if ( job.state == ClientJob::kRunning )
            return;
        XCallHook( [&] { job.job->Resumed(); } );
        if ( job.state == ClientJob::kWaiting )
            return;
        SetState( job, ClientJob::kWaiting );
        Append( inJob->first, job );
        if ( job.wasSuspended )
            Post( XNetJobEvent::kResume, inJob->first );
    };
    VisitSelected( inSelector, resume );
    itsSession.Wake();
}

void XNetJobQueue::XImp::PostToJobs( const XJobSelector& inSelector, const XMessage& inMessage )
{
    const XThreadLock lock( itsMutex );
    VisitSelected(
        inSelector,
        [&]( Jobs::iterator inJob )
        { XSpeaker::PostXMessage( inMessage, *inJob->second.job, kWhenNextEvent ); } );
}

// ---- Waiting and counts

/// Returns whether the queue is empty.
bool XNetJobQueue::XImp::SleepUntilEmpty( std::uint32_t inTimeoutMS )
{
    const XTimer timer( inTimeoutMS );
    const XThreadLock lock( itsMutex );
    while ( GetWeight() > 0 && !timer.HasExpired() )
        itsHasChanged.Sleep( itsMutex, timer.GetRemainingMS(), true );
    return GetWeight() == 0;
}

void XNetJobQueue::XImp::WaitForWeightUnderCommit( double inCommit )
{
    const XThreadLock lock( itsMutex );
    while ( static_cast<double>( GetWeight() ) >= itsWorkers * inCommit )
        itsHasChanged.Sleep( itsMutex, kNoTimeout, true );
}

bool XNetJobQueue::XImp::IsAnyRunning( const XJobSelector& inSelector )
{
    bool isAny = false;
    if ( itsCounts[ClientJob::kRunning] > 0 )
        VisitSelected(
            inSelector,
            [&]( Jobs::iterator inJob ) { isAny |= inJob->second.state == ClientJob::kRunning; } );
    return isAny;
}

void XNetJobQueue::XImp::WaitForRunning( const XJobSelector& inSelector )
{
    const XThreadLock lock( itsMutex );
    while ( IsAnyRunning( inSelector ) )
        itsHasChanged.Sleep( itsMutex, kNoTimeout, true );
}

USize XNetJobQueue::XImp::GetWeight() const
{
    const XThreadLock lock( itsMutex );
    return itsJobs.size() + itsTakenCount;
}

USize XNetJobQueue::XImp::GetJobCount() const
{
    const XThreadLock lock( itsMutex );
    return GetWeight() + itsEndedJobs.size() + itsCompletingCount;
}

USize XNetJobQueue::XImp::Count( ClientJob::State inState ) const
{
    const XThreadLock lock( itsMutex );
    return itsCounts[inState];
}

// ---- The interface

XNetJobQueue::XNetJobQueue( const XNetJobDeployment& inDeployment )
    : itsImp( std::make_unique<XImp>( *this, inDeployment ) )
{
}

XNetJobQueue::~XNetJobQueue()
{
    const XPreventThreadStop preventStop;
    Stop();
    itsImp->End();
    StopListening();
    StopSpeaking();
    itsImp->CompleteEndedJobs();
    DeleteAllJobs(); // what the completions have attached
}

void XNetJobQueue::Start()
{
    itsImp->Start();
}

bool XNetJobQueue::IsRunning() const
{
    return itsImp->IsRunning();
}

bool XNetJobQueue::IsConnected() const
{
    return itsImp->IsConnected();
}

std::uint32_t XNetJobQueue::GetConnectionError() const
{
    return itsImp->GetConnectionError();
}

void XNetJobQueue::Stop()
{
    itsImp->Stop();
}

void XNetJobQueue::AttachJob( XNetJob* inJob, bool inSuspended )
{
    XAssert( inJob );
    itsImp->Attach( inJob, inSuspended );
}

bool XNetJobQueue::AttachJobIfTagNotPresent( XNetJob* inJob )
{
    XAssert( inJob );
    const bool isAttached = itsImp->AttachIfTagNotPresent( inJob );
    if ( !isAttached )
        delete inJob;
    return isAttached;
}

void XNetJobQueue::StopTaggedJobs( const XJobSelector& inTags )
{
    itsImp->StopJobs( inTags, true );
}

bool XNetJobQueue::StopTaggedJobsIfNotRunning( const XJobSelector& inTags )
{
    return itsImp->StopJobs( inTags, false );
}

void XNetJobQueue::AsyncSuspendTaggedJobs( const XJobSelector& inTags )
{
    itsImp->Suspend( inTags );
}

void XNetJobQueue::SuspendTaggedJobs( const XJobSelector& inTags )
{
    itsImp->Suspend( inTags );
    itsImp->WaitForRunning( inTags );
}

void XNetJobQueue::ResumeTaggedJobs( const XJobSelector& inTags )
{
    itsImp->Resume( inTags );
}

void XNetJobQueue::DeleteTaggedJobs( const XJobSelector& inTags )
{
    itsImp->DeleteJobs( inTags, true );
}

bool XNetJobQueue::DeleteTaggedJobsIfNotRunning( const XJobSelector& inTags )
{
    return itsImp->DeleteJobs( inTags, false );
}

void XNetJobQueue::PostMessageTaggedJobs( const XJobSelector& inTags, const XMessage& inMessage )
{
    itsImp->PostToJobs( inTags, inMessage );
}

void XNetJobQueue::WaitForQueueEmpty( std::uint32_t inTimeoutMS )
{
    if ( !itsImp->SleepUntilEmpty( inTimeoutMS ) )
        XThrow( kErrorTimedOut );
    if ( !XThread::IsMainThread() )
        return;
    ProcessAllNextEventMessages();
    itsImp->CompleteEndedJobs();
}

void XNetJobQueue::WaitForQueueEmptyWithProgress()
{
    USize most = std::max<USize>( GetCurrentJobWeight(), 1 );
    XProgress progress( most, XProgress::kProgressWait, kEmptyProgressDelayMS );
    while ( !itsImp->SleepUntilEmpty( kEmptyProgressSleepMS ) )
    {
        const USize left = GetCurrentJobWeight();
        most = std::max( most, left ); // jobs may be attached meanwhile
        progress.SetMaxProgress( most );
        progress.SetProgress( static_cast<double>( most - std::min( most, left ) ) );
        progress.YieldAndCheckAbort();
    }
    WaitForQueueEmpty();
}

void XNetJobQueue::WaitForJobWeightUnderCommit( double inCommit )
{
    itsImp->WaitForWeightUnderCommit( inCommit );
}

USize XNetJobQueue::GetJobCount() const
{
    return itsImp->GetJobCount();
}

USize XNetJobQueue::GetQueuedJobCount() const
{
    return itsImp->Count( ClientJob::kWaiting );
}

USize XNetJobQueue::GetRunningJobCount() const
{
    return itsImp->Count( ClientJob::kRunning );
}

USize XNetJobQueue::GetSuspendedJobCount() const
{
    return itsImp->Count( ClientJob::kSuspended );
}

USize XNetJobQueue::GetCurrentJobWeight() const
{
    return itsImp->GetWeight();
}

void XNetJobQueue::HandleMessage( const XMessage& inMessage )
{
    if ( dynamic_cast<const XImp::XEndedMessage*>( &inMessage ) )
        itsImp->CompleteEndedJobs();
}
