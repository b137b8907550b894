#include "Threads/XThread.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Ground/WDeadline.h"
#include "Ground/XErrorNumbers.h"
#include "Threads/XCheckpoint.h"
#include "Threads/XLockHelper.h"
#include "Threads/XPreventThreadStop.h"
#include "Threads/XThreadListener.h"

#include <algorithm>
#include <utility>

// Two states. `requested` is what other threads ask for, `current` what the thread does; both are in XStates
// and change under its mutex, and `requested` may be read without it, which makes a checkpoint without a
// request one relaxed load. Requests are carried out by the thread itself in ObeyRequest, unless guards
// (XPreventThreadStop, XPreventThreadSuspend) defer them. A stop supersedes a suspension, and the code
// kRestartStopCode any other code; it cannot be withdrawn.
//
// XStates is shared. Threads that wait for this one hold it by a shared pointer, because the XThread object
// may be destroyed as soon as the thread counts as not running: SetNotRunning is the last access of
// FinishThread, and it uses a copy of the pointer.
//
// What waits count. A state may come and go before a waiting thread has woken, so waits compare counters:
// endedRuns for "it has ended since I began to wait", pauses for "it has suspended or ended". Each XStateWait
// notes them before the request is made.
//
// Starting. StartThread returns when the body has been entered (isStarted) or the thread has ended without
// that, for lack of memory (endedRuns). Thread listeners are called before isStarted is set, so they have
// seen the thread when StartThread returns.

namespace
{

thread_local XThread* sCurrentThread = nullptr;

/// Guarded by XThread::sThreadListenerMutex; never destroyed, because threads may end as late as the process's statics.
XVector<XThreadListener*>& sThreadListeners = *new XVector<XThreadListener*>;

} // namespace

XMutex XThread::sThreadListenerMutex;

void XRunCheckpoint()
{
    XThread::TestCancelCurrentThread();
}

// ---- Life

XThread::XThread(
    const XString& inName, XThreadPriority inPriority, XThreadOptions inOptions, bool inAcquire )
    : itsStates( std::make_shared<XStates>() ), itsName( inName ), itsPriority( inPriority ),
      itsAffinityMask( GetAffinityMaskForAllCPUs() ), itsOptions( inOptions ), itsIsAcquired( inAcquire ),
      itsImp( new XThreadImp( *this ) )
{
    if ( !inAcquire )
        return;
    itsThreadID = GetCurrentThreadID();
    itsStates->requested = kThreadRunning;
    itsStates->current = kThreadRunning;
    itsImp->Adopt();
    MakeCurrent();
}

XThread::~XThread()
{
    if ( itsIsAcquired )
        LeaveCurrent();
    else if ( GetLastThreadState() != kThreadNotRunning )
    {
        // Notes the run before the request, so that an end in between is not missed.
        const XStateWait end( itsStates, XStateWait::kEnd );
        const XPreventThreadStop preventStop; // of the calling thread
        XSwallowErrors( [this] { AsyncStopThread( kRestartStopCode ); } );
        end.Sleep( kNoTimeout );
    }
    XTLSRegistry::CleanUp( itsTLS );
    itsImp.reset();
    const XThreadLock lock( itsStates->mutex );
    // The end of an acquired thread; one that was started has ended already.
    itsStates->SetNotRunning();
}

void XThread::AsyncStopThreadSelf( std::uint32_t inStopCode )
{
    static_cast<void>( inStopCode );
}

void XThread::StartThread()
{
    if ( GetCurrentThread() == this )
        return AsyncStopThread( kRestartStopCode );
    const XThreadLock startLock( itsStartMutex, kNoTimeout, true );
    // A start of a running thread restarts it. itsStartMutex keeps a second start out until then.
    StopThread( kRestartStopCode );
    const std::uint32_t run = PrepareStart();
    itsImp->Start();
    const XThreadLock lock( itsStates->mutex );
    // The thread may already have started and ended again.
    while ( !itsStates->isStarted && itsStates->endedRuns == run )
        itsStates->stateChanged.Wait( itsStates->mutex );
    if ( !itsStates->isStarted )
        XThrow( kErrorOutOfMemory );
}

/// Returns the number of the run that is to begin.
std::uint32_t XThread::PrepareStart()
{
    const XThreadLock lock( itsStates->mutex );
    itsThreadID = 0;
    itsReturnCode = 0;
    itsStates->stopCode = 0;
    itsStates->isStarted = false;
    itsStates->isFinishing = false;
    return itsStates->endedRuns;
}

/// The thread's body, on the new thread.
void XThread::RunThread()
{
    try
    {
        EnterBody();
        BodyEnded( RunThreadSelf() );
    }
    catch ( const XStopThreadException& exception )
    {
        BodyEnded( static_cast<std::int32_t>( exception.GetStopCode() ) );
        throw;
    }
    catch ( const XException& exception )
    {
        BodyEnded( static_cast<std::int32_t>( exception.GetErrorNumber() ) );
        throw;
    }
    catch ( ... )
    {
        BodyEnded( kUnknownExceptionCode );
        throw;
    }
}

void XThread::EnterBody()
{
    MakeCurrent();
    {
        const XThreadLock lock( itsStates->mutex );
        itsThreadID = GetCurrentThreadID();
        itsStates->requested = kThreadRunning;
        itsStates->SetCurrent( kThreadRunning );
    }
    ApplyPlacement();
    NotifyThreadListeners( kThreadStarted );
    const XThreadLock lock( itsStates->mutex );
    itsStates->isStarted = true; // releases StartThread
    itsStates->stateChanged.Broadcast();
}

void XThread::BodyEnded( std::int32_t inReturnCode )
{
    const XThreadLock lock( itsStates->mutex );
    itsStates->requested = kThreadNotRunning;
    itsReturnCode = inReturnCode;
}

std::int32_t XThread::FinishThread() noexcept
{
    const XStatesPtr states = itsStates; // this object may be destroyed as soon as it does not run any more
    bool wasStarted = false;             // else it lacked the memory
    {
        const XThreadLock lock( states->mutex );
        states->isFinishing = true;
        wasStarted = states->isStarted;
    }
    if ( wasStarted )
    {
        XSwallowErrors( [] { NotifyThreadListeners( kThreadFinishing ); } );
        XSwallowErrors( [this] { FinishThreadSelf(); } );
    }
    if ( GetCurrentThread() == this )
        LeaveCurrent();
    itsImp->Ended();
    const XThreadLock lock( states->mutex );
    const std::int32_t returnCode = itsReturnCode;
    states->SetNotRunning();
    return returnCode;
}

/// Makes this the XThread of the calling thread.
void XThread::MakeCurrent()
{
    // A restarted thread begins with empty slots.
    itsTLS.assign( XTLSRegistry::kKeyCount, 0 );
    itsLastErrorNumber = 0;
    itsPreviousLastErrorSlot = XException::SetLastErrorSlot( &itsLastErrorNumber );
    XTLSRegistry::SetCurrentSlots( &itsTLS );
    sCurrentThread = this;
}

void XThread::LeaveCurrent() noexcept
{
    XTLSRegistry::CleanUp( itsTLS );
    if ( sCurrentThread != this )
        return;
    sCurrentThread = nullptr;
    XTLSRegistry::SetCurrentSlots( nullptr );
    XException::SetLastErrorSlot( itsPreviousLastErrorSlot );
}

XThread* XThread::GetCurrentThread()
{
    return sCurrentThread;
}

// ---- Requests, on any thread

void XThread::AsyncStopThread( std::uint32_t inStopCode )
{
    const bool isSelf = GetCurrentThread() == this;
    bool isNews = false;
    std::uint32_t stopCode = 0;
    {
        const XThreadLock lock( itsStates->mutex );
        if ( itsStates->current == kThreadNotRunning )
            return;
        // A restart is waited for by a destructor or by StartThread, so no later request may soften it.
        if ( itsStates->stopCode != kRestartStopCode )
            itsStates->stopCode = inStopCode;
        stopCode = itsStates->stopCode;
        isNews = itsStates->requested.exchange( kThreadNotRunning ) != kThreadNotRunning;
        if ( isNews && !isSelf )
        {
            // A thread that was to suspend may do so already, or still wait elsewhere because it must not suspend.
            itsStates->resumed.Signal();
            itsStates->stateChanged.Broadcast();
            itsImp->Wake();
        }
    }
    if ( isNews )
        // A hook, called without the mutex, and once for each request.
        AsyncStopThreadSelf( stopCode );
    if ( isSelf )
        TestCancelThread();
}

void XThread::StopThread( std::uint32_t inStopCode )
{
    const XStateWait end( itsStates, XStateWait::kEnd );
    AsyncStopThread( inStopCode );
    if ( GetCurrentThread() != this )
        end.Sleep( kNoTimeout );
}

void XThread::AsyncSuspendThread()
{
    const bool isSelf = GetCurrentThread() == this;
    {
        const XThreadLock lock( itsStates->mutex );
        // A stop supersedes a suspension, and a second suspension changes nothing.
        if ( itsStates->current == kThreadNotRunning || itsStates->requested != kThreadRunning )
            return;
        // A resumed thread that has not woken yet continues to sleep.
        itsStates->requested = kThreadSuspended;
        if ( !isSelf )
            itsImp->Wake();
    }
    if ( isSelf )
        // Throws here, on the thread itself, unless prevented.
        TestCancelThread();
}

void XThread::SuspendThread()
{
    const XStatesPtr states = itsStates;
    AsyncSuspendThread();
    if ( GetCurrentThread() != this )
        XStateWait( states, XStateWait::kAnswer ).Sleep( kNoTimeout );
}

void XThread::ResumeThread()
{
    const XThreadLock lock( itsStates->mutex );
    if ( itsStates->requested != kThreadSuspended )
        return;
    itsStates->SetRequested( kThreadRunning );
    itsStates->resumed.Signal();
}

void XThread::ResetCancelState()
{
    {
        const XThreadLock lock( itsStates->mutex );
        if ( itsStates->requested != kThreadNotRunning )
            return;
        if ( itsStates->stopCode != kRestartStopCode )
        {
            itsStates->SetRequested( kThreadRunning );
            itsStates->stopCode = 0;
            return;
        }
    }
    TestCancelThread();
}

// ---- The checkpoint, on the thread itself

void XThread::TestCancelThread()
{
    // An old value delays a request to the next checkpoint at most; ObeyRequest reads it under the mutex.
    if ( itsStates->requested.load( std::memory_order_relaxed ) == kThreadRunning )
        return;
    XAssert( GetCurrentThread() == this );
    while ( ObeyRequest() )
    {
    }
}

void XThread::TestCancelCurrentThread()
{
    if ( XThread* const thread = sCurrentThread )
        thread->TestCancelThread();
}

/// Carries out a request that is due. True when there may be another one by now.
bool XThread::ObeyRequest()
{
    // Keeps the hooks, which may run checkpoints of their own, from coming back here.
    // Therefore the guards below compare with 1: this function's own.
    const XLockHelper preventStop( itsPreventStopCount );
    const XLockHelper preventSuspend( itsPreventSuspendCount );
    switch ( GetDueRequest() )
    {
    // StopHere does not return.
    case kThreadNotRunning:
        StopHere();
    case kThreadSuspended:
        SuspendHere();
        return true;
    default:
        return false;
    }
}

/// The state to go to; running, when nothing is requested or a guard defers it.
XThread::XThreadState XThread::GetDueRequest() const
{
    const XThreadLock lock( itsStates->mutex );
    if ( itsStates->current == kThreadNotRunning )
        return kThreadRunning;
    if ( itsStates->requested == kThreadNotRunning && itsPreventStopCount == 1 )
        return kThreadNotRunning;
    if ( itsStates->requested == kThreadSuspended && itsPreventSuspendCount == 1 )
        return kThreadSuspended;
    return kThreadRunning;
}

void XThread::SuspendHere()
{
    XSwallowErrors( [this] { Suspending(); } );
    {
        const XThreadLock lock( itsStates->mutex );
        itsStates->SetCurrent( kThreadSuspended );
        while ( itsStates->requested == kThreadSuspended )
            itsStates->resumed.Wait( itsStates->mutex );
        itsStates->SetCurrent( kThreadRunning );
    }
    XSwallowErrors( [this] { Resuming(); } );
}

void XThread::StopHere()
{
    XSwallowErrors( [this] { Stopping(); } );
    std::uint32_t stopCode = 0;
    {
        const XThreadLock lock( itsStates->mutex );
        stopCode = itsStates->stopCode;
    }
    throw XStopThreadException( stopCode );
}

void XThread::XStates::SetCurrent( XThreadState inState )
{
    current = inState;
    if ( inState != kThreadRunning )
        ++pauses;
    stateChanged.Broadcast();
}

/// For requests that waiters must notice.
void XThread::XStates::SetRequested( XThreadState inState )
{
    requested = inState;
    stateChanged.Broadcast();
}

void XThread::XStates::SetNotRunning()
{
    ++endedRuns;
    SetCurrent( kThreadNotRunning );
}

// ---- Waiting for a thread

void XThread::WaitForTerminate( std::uint32_t inTimeoutMS )
{
    if ( SleepUntilTerminate( inTimeoutMS ) )
        XThrow( kErrorTimedOut );
}

void XThread::WaitForSuspend( std::uint32_t inTimeoutMS )
{
    if ( SleepUntilSuspended( inTimeoutMS ) )
        XThrow( kErrorTimedOut );
}

bool XThread::SleepUntilTerminate( std::uint32_t inTimeoutMS )
{
    return XStateWait( itsStates, XStateWait::kEnd ).Sleep( inTimeoutMS );
}

bool XThread::SleepUntilSuspended( std::uint32_t inTimeoutMS )
{
    return XStateWait( itsStates, XStateWait::kPause ).Sleep( inTimeoutMS );
}

XWaitResult XThread::WaitForInputOrTerminate( std::uint32_t inTimeoutMS )
{
    WaitForTerminate( inTimeoutMS );
    return kWaitResultEvent;
}

XWaitResult XThread::SleepUntilInputOrTerminate( std::uint32_t inTimeoutMS )
{
    return SleepUntilTerminate( inTimeoutMS ) ? kWaitResultTimeout : kWaitResultEvent;
}

XThread::XStateWait::XStateWait( const XStatesPtr& inStates, XEvent inEvent )
    : itsStates( inStates ), itsEvent( inEvent )
{
    const XThreadLock lock( itsStates->mutex );
    itsRun = itsStates->endedRuns;
    itsPauses = itsStates->pauses;
}

bool XThread::XStateWait::Sleep( std::uint32_t inTimeoutMS ) const
{
    const WDeadline deadline( inTimeoutMS );
    const XThreadLock lock( itsStates->mutex );
    while ( !HasCome() )
    {
        // The change may have come together with the time-out.
        if ( itsStates->stateChanged.Sleep( itsStates->mutex, deadline.GetMillisecondsLeft(), true ) )
            return !HasCome();
    }
    return false;
}

/// Under the mutex.
bool XThread::XStateWait::HasCome() const
{
    if ( itsEvent == kEnd )
        return itsStates->current == kThreadNotRunning || itsStates->endedRuns != itsRun;
    if ( itsStates->current != kThreadRunning || itsStates->pauses != itsPauses )
        return true;
    return itsEvent == kAnswer && itsStates->requested == kThreadRunning;
}

// ---- Sleeping

void XThread::YieldThread()
{
    YieldCurrentThread();
}

void XThread::SleepThread( std::uint32_t inTimeoutMS, bool inAlertable )
{
    SleepCurrentThread( inTimeoutMS, inAlertable );
}

XWaitResult XThread::SleepThreadUnlessInput( std::uint32_t inTimeoutMS, bool inAlertable )
{
    return SleepCurrentThreadUnlessInput( inTimeoutMS, inAlertable );
}

void XThread::YieldCurrentThread()
{
    XThreadImp::Yield();
}

void XThread::SleepCurrentThread( std::uint32_t inTimeoutMS, bool inAlertable )
{
    const WDeadline deadline( inTimeoutMS );
    do
    {
        if ( inAlertable )
            TestCancelCurrentThread();
    } while ( XThreadImp::Sleep( deadline.GetMillisecondsLeft(), inAlertable ) == kWaitAlerted );
}

XWaitResult XThread::SleepCurrentThreadUnlessInput( std::uint32_t inTimeoutMS, bool inAlertable )
{
    SleepCurrentThread( inTimeoutMS, inAlertable );
    return kWaitResultTimeout;
}

// ---- Listeners

void XThread::NotifyThreadListeners( std::uint32_t inEvent )
{
    const XThreadLock lock( sThreadListenerMutex );
    const auto listeners = sThreadListeners; // they may start and stop listening meanwhile
    for ( XThreadListener* const listener : listeners )
    {
        if ( std::find( sThreadListeners.begin(), sThreadListeners.end(), listener ) !=
             sThreadListeners.end() )
            XSwallowErrors( [&] { listener->ThreadEvent( static_cast<XThreadEvent>( inEvent ) ); } );
    }
}

void XThread::RegisterThreadListener( XThreadListener& inListener )
{
    const XThreadLock lock( sThreadListenerMutex );
    sThreadListeners.push_back( &inListener );
}

void XThread::UnregisterThreadListener( XThreadListener& inListener )
{
    const XThreadLock lock( sThreadListenerMutex );
    const auto it = std::find( sThreadListeners.begin(), sThreadListeners.end(), &inListener );
    XAssert( it != sThreadListeners.end() );
    sThreadListeners.erase( it );
}
