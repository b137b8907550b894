#include "Jobs/Internal/XJobThread.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/Internal/XTypeName.h"
#include "Jobs/Internal/XCallHook.h"
#include "Jobs/Internal/XJobWaiter.h"
#include "Jobs/XJob.h"
#include "Jobs/XProgressStrategyChanger.h"
#include "Threads/XPreventThreadStop.h"
#include "Threads/XThreadLock.h"

#include <string>
#include <utility>

// A worker's loop: look for a stop, take a job, run it, complete it. Whatever a job throws ends the job only;
// RunThreadSelf is left by a stop with another code than XJob::kStopped.
//
// A stop is aimed at a job, but what can be stopped is a thread. Three rules make the two the same:
// - AsyncStopIfSelected asks the thread to stop under itsJobMutex, while the job to be stopped is the current
//   one.
// - CompleteJob takes the job out of itsCurrentJob under that mutex before anything else, so no later stop
//   can be meant for it, and prevents stops until the worker is done with it.
// - A stop that came just before has left the thread's state not "running"; therefore JobComplete hands over
//   no next job (isFree), and the checkpoint at the head of RunNextJob, with no current job, carries the stop
//   out without effect.
//
// itsJobMutex is held while a job moves between its queue and itsCurrentJob, in both directions. It comes
// before all mutexes of queues.

XJobQueue::XJobThread::XJobThread() : XThread( "XJobThread", kThreadPriorityNormal )
{
    StartThread();
}

XJobQueue::XJobThread::~XJobThread()
{
    const XPreventThreadStop preventStop;
    // A withdrawn stop would leave the destructor waiting forever.
    StopThread( kRestartStopCode ); // of all codes the one that nothing can withdraw
}

void XJobQueue::XJobThread::AsyncStopIfSelected( const XJobQueue& inQueue, const XJobSelector& inSelector )
{
    const XThreadLock lock( itsJobMutex );
    if ( itsCurrentJob && itsCurrentJob->GetOwner() == &inQueue && inSelector.Selects( *itsCurrentJob ) )
        AsyncStopThread( XJob::kStopped );
}

std::int32_t XJobQueue::XJobThread::RunThreadSelf()
{
    for ( ;; )
    {
        try
        {
            RunNextJob();
        }
        catch ( const XStopThreadException& exception )
        {
            // A job may also throw a XStopThreadException of its own making, without the thread having been
            // asked to stop. Then the job ends like a stopped one and the worker goes on.
            EndJob( exception.GetStopCode() );
            const bool isStopped =
                GetNextThreadState() == kThreadNotRunning; // a body can throw what it likes
            if ( isStopped && exception.GetStopCode() != XJob::kStopped )
                throw;
            // The stop was for the job alone.
            ResetCancelState();
        }
        catch ( const XException& exception )
        {
            LogFailure();
            EndJob( exception.GetErrorNumber() );
        }
        catch ( ... )
        {
            LogFailure();
            EndJob( XJob::kFailed );
        }
    }
}

/// The checkpoint also meets a stop that came too late for the job before, which has left no next one then.
void XJobQueue::XJobThread::RunNextJob()
{
    TestCancelThread();
    if ( itsCurrentJob || FetchJob() )
        RunCurrentJob();
    else
        WaitForJob();
}

/// Under the same locks as the job's removal from its queue, so that a search finds it in one of the two
/// places.
bool XJobQueue::XJobThread::FetchJob()
{
    const XThreadLock lock( itsJobMutex );
    XAssert( !itsCurrentJob );
    SetCurrentJob( XJobQueue::FetchJob( *this ) );
    return itsCurrentJob != nullptr;
}

void XJobQueue::XJobThread::WaitForJob()
{
    {
        // Registers first and looks again then: a job that is added after the second look finds the waiter.
        XJobWaiter waiter;
        if ( !FetchJob() )
            return waiter.Wait();
    }
    RunCurrentJob();
}

void XJobQueue::XJobThread::RunCurrentJob()
{
    {
        // The strategy is the job's own, for the time of its run.
        const XProgressStrategyChanger strategy( itsCurrentJob->GetProgressStrategy() );
        itsCurrentJob->RunJob();
    }
    CompleteJob( true );
}

/// Logs the exception that is being handled and the job that threw it: the result code alone would not
/// identify the failure.
void XJobQueue::XJobThread::LogFailure() const noexcept
{
    const auto log = [this]
    {
        std::string origin = "job";
        if ( const XJob* const job = itsCurrentJob )
        {
            origin += " " + XGetTypeName( typeid( *job ) );
            if ( job->GetTag() != 0 )
                origin += ", tag " + std::to_string( job->GetTag() );
        }
        XErrorLog::AddCurrentException( origin.c_str() );
    };
    XSwallowErrors( log );
}

/// Completes the current job, if there is one, which has ended by an exception.
void XJobQueue::XJobThread::EndJob( std::uint32_t inResultCode )
{
    if ( !itsCurrentJob )
        return;
    itsCurrentJob->SetResultCode( inResultCode );
    if ( inResultCode == XJob::kStopped )
    {
        const XPreventThreadStop preventStop;
        XCallHook( [this] { itsCurrentJob->Stopped(); } );
    }
    CompleteJob( false );
}

/// From the first step on no stop is meant for the job any more, and none cuts the rest short. With
/// `inMayRunNext` the next job of the queue may be the current one then, unless the thread has been asked for
/// something.
void XJobQueue::XJobThread::CompleteJob( bool inMayRunNext )
{
    const XPreventThreadStop preventStop;
    XJob* job = nullptr;
    {
        const XThreadLock lock( itsJobMutex );
        job = std::exchange( itsCurrentJob, nullptr );
    }
    XTLSRegistry::RegisterDataPtr( XTLSRegistry::kCurrentJob, nullptr );
    XCallHook(
        [&]
        {
            XJobQueue* const queueThatOwnsJob = job->GetOwner();
            XAssert( queueThatOwnsJob );
            XJob* const uncompletedJob = CompleteInJobThread( job ) ? nullptr : job;
            const XThreadLock lock( itsJobMutex );
            // In one step with the removal from the running jobs: see the second and third rule above.
            const bool isFree = GetNextThreadState() == kThreadRunning;
            SetCurrentJob( queueThatOwnsJob->JobComplete( *this, uncompletedJob, inMayRunNext && isFree ) );
        } );
}

/// Under the mutex.
void XJobQueue::XJobThread::SetCurrentJob( XJob* inJob )
{
    itsCurrentJob = inJob;
    if ( inJob )
        XTLSRegistry::RegisterDataPtr( XTLSRegistry::kCurrentJob, inJob );
}
