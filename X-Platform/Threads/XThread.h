#pragma once

#include "Core/Strings/XString.h"
#include "Threads/WThread.h"
#include "Threads/XConditionVariable.h"
#include "Threads/XStopThreadException.h"
#include "Threads/XTLSRegistry.h"
#include "Threads/XThreadLock.h"
#include "Threads/XThreadPriority.h"

#include <memory>

class XThreadListener;

/// The platform's implementation of a thread: starts it, wakes it, sets priority and affinity.
using XThreadImp = WThread;

/// A thread that can be stopped and suspended cooperatively. Requests take effect at checkpoints
/// (`TestCancelThread`), which progress calls and alertable waits run too: a stop is thrown there as
/// XStopThreadException through the thread's own code, and a suspended thread sleeps there until it is
/// resumed or stopped.
///
/// Derive a class, implement `RunThreadSelf`, and call `StartThread`. A thread that has ended can be started
/// again. The destructor of the most derived class should stop the thread (`StopThread`) while the members
/// that it uses still exist. The base's destructor stops it and waits for it too, on any thread, so that no
/// thread outlives its object, but it cannot wait for a hook that the thread is about to call. An object must
/// not be destroyed by its own thread's body.
///
/// Ownership: the creator owns the object. Threads that wait on it when it is destroyed are released as if
/// the thread had ended; the state that they use outlives the object.
/// Threads: every operation may be called from any thread unless stated otherwise.
/// Errors: waits throw 2701 on a time-out; operations that begin with Sleep return it instead. Waits for
/// another thread are alertable: a caller that is stopped leaves them with XStopThreadException, so that
/// threads that stop each other do not deadlock. A thread that waits for its own end waits until the
/// time-out.
class KORVALE_API XThread : private WThreadBody
{
public:
    enum XThreadState : std::uint32_t
    {
        kThreadNotRunning = 0,
        kThreadRunning = 1,
        kThreadSuspended = 2
    };

    /// Flags for the application; the library defines none.
    using XThreadOptions = std::uint32_t;
    static constexpr XThreadOptions kNoThreadOptions = 0;

    /// The return code of a thread whose body threw an exception other than XException.
    static constexpr std::int32_t kUnknownExceptionCode = -4;

    /// The stop code of `StartThread`; such a stop cannot be withdrawn or replaced by another.
    static constexpr std::uint32_t kRestartStopCode = 2702;

    XThread( const XThread& ) = delete;
    XThread& operator=( const XThread& ) = delete;

    /// Stops the thread if it is running, cleans up its slots, and releases all threads that wait on the
    /// object.
    virtual ~XThread();

protected:
    /// The thread's body. Its result is the return code.
    virtual std::int32_t RunThreadSelf() = 0;

    /// Hooks; their exceptions are swallowed. Called on the thread: when it ends, just before and just after
    /// a suspension, and just before a stop is thrown.
    virtual void FinishThreadSelf() {}
    virtual void Suspending() {}
    virtual void Resuming() {}
    virtual void Stopping() {}

    /// Called on the requesting thread after a stop has been requested, so that a subclass can unblock its
    /// thread. May throw, to the requester.
    virtual void AsyncStopThreadSelf( std::uint32_t inStopCode );

    /// With `inAcquire` the object adopts the calling thread, which is already running, and must be destroyed
    /// on that thread.
    XThread(
        const XString& inName, XThreadPriority inPriority, XThreadOptions inOptions = kNoThreadOptions,
        bool inAcquire = false );

    /// Withdraws a stop request that has not taken effect or whose exception was caught. If the stop code is
    /// `kRestartStopCode`, runs the checkpoint instead, which throws. Called on the thread itself.
    void ResetCancelState();

public:
    /// Starts the thread, stopping a previous run first (stop code 2702). Returns when the body is running
    /// and the listeners have been notified. Called on the running thread itself, it only stops the thread. A
    /// priority or affinity set before is applied as far as the system permits. Throws the system's last
    /// error if no thread can be started (1028 if there are too many), 1012 if the new thread lacks memory to
    /// begin.
    void StartThread();

    /// Requests a stop. On the thread itself the stop is thrown at once, unless prevented.
    void AsyncStopThread( std::uint32_t inStopCode = 0 );

    /// Requests a stop and waits until the thread has ended. On the thread itself it does not wait.
    void StopThread( std::uint32_t inStopCode = 0 );

    /// Requests a suspension. On the thread itself it returns after the thread has been resumed, unless
    /// suspending is prevented.
    void AsyncSuspendThread();

    /// Requests a suspension and waits until the thread is suspended or has ended, or no request is pending
    /// any more: because the thread was told to resume, or withdrew an earlier stop.
    void SuspendThread();

    /// Resumes a suspended thread, or withdraws a suspension that has not taken effect yet.
    void ResumeThread();

    /// WaitForTerminate waits until the run has ended. WaitForSuspend waits until the thread is not running,
    /// or has been suspended or ended at some time since the call.
    void WaitForTerminate( std::uint32_t inTimeoutMS = kNoTimeout );
    void WaitForSuspend( std::uint32_t inTimeoutMS = kNoTimeout );

    /// The same waits with a progress of the calling thread, which is shown after two seconds and through
    /// which the user may abort the wait (1001). The wait for suspension shows the elapsed share of
    /// `inExpectedMS`; without `inAllowAbort` neither the user nor a stop ends it. They throw 2701 on a
    /// time-out.
    void WaitForTerminateWithProgress( std::uint32_t inTimeoutMS = kNoTimeout );
    void WaitForSuspendWithProgress(
        std::uint32_t inTimeoutMS = kNoTimeout, std::uint32_t inExpectedMS = kNoTimeout,
        bool inAllowAbort = true );

    /// Like `StopThread` and `SuspendThread`, with such a progress.
    void StopThreadWithProgress( std::uint32_t inStopCode = 0 );
    void SuspendThreadWithProgress( std::uint32_t inExpectedMS = kNoTimeout, bool inAllowAbort = true );

    /// Wait like WaitForTerminate and WaitForSuspend, but return true on a time-out.
    bool SleepUntilTerminate( std::uint32_t inTimeoutMS );
    bool SleepUntilSuspended( std::uint32_t inTimeoutMS );

    /// Wait until the thread has ended or user input arrives (see XWaitResult).
    XWaitResult WaitForInputOrTerminate( std::uint32_t inTimeoutMS );
    XWaitResult SleepUntilInputOrTerminate( std::uint32_t inTimeoutMS );

    /// The checkpoint: carries out pending requests. Called on the thread itself; the static form does
    /// nothing on a thread without an XThread.
    void TestCancelThread();
    static void TestCancelCurrentThread();

    /// Yield the processor, or sleep. An alertable sleep is a checkpoint at its start and whenever a request
    /// arrives; otherwise it lasts the given time. SleepThreadUnlessInput returns kWaitResultTimeout at the
    /// end. Called on the thread itself.
    void YieldThread();
    void SleepThread( std::uint32_t inTimeoutMS, bool inAlertable = false );
    XWaitResult SleepThreadUnlessInput( std::uint32_t inTimeoutMS, bool inAlertable = false );
    static void YieldCurrentThread();
    static void SleepCurrentThread( std::uint32_t inTimeoutMS, bool inAlertable = false );
    static XWaitResult SleepCurrentThreadUnlessInput( std::uint32_t inTimeoutMS, bool inAlertable = false );

    /// The system also shows this name, or its beginning, for a started thread.
    XString GetDebugName() const;
    void SetDebugName( const XString& inName );
    std::int32_t GetThreadReturnCode() const;
    void SetThreadReturnCode( std::int32_t inReturnCode );

    /// Each returns the previous options.
    XThreadOptions SetThreadOptions( XThreadOptions inOptions );
    XThreadOptions AddThreadOptions( XThreadOptions inOptions );
    XThreadOptions RemoveThreadOptions( XThreadOptions inOptions );
    XThreadOptions GetThreadOptions() const;

    /// Setting the current level does nothing; a level above 6 is an internal error, "false". If the system
    /// refuses (Linux requires a privilege to raise the level), throws its last error and keeps the level. A
    /// thread that is not running gets the level when it starts, as far as the system permits; otherwise it
    /// has the level of the thread that started it.
    void SetThreadPriority( XThreadPriority inPriority );
    XThreadPriority GetThreadPriority() const;

    /// Bit i permits logical processor i of those that the process may use; if it may use more than 64,
    /// setting all bits permits all of them. An empty mask is an internal error, "inMask != USize( 0 )".
    void SetThreadAffinityMask( USize inMask );
    USize GetThreadAffinityMask() const;

    /// The system's ID; 0 until started.
    std::uint32_t GetThreadID() const;
    bool IsThreadRunning() const { return GetLastThreadState() == kThreadRunning; }
    bool IsThreadSuspended() const { return GetLastThreadState() == kThreadSuspended; }
    bool IsAcquiredThread() const { return itsIsAcquired; }

    /// The current state, and the requested one (kThreadNotRunning for a stop).
    XThreadState GetLastThreadState() const;
    XThreadState GetNextThreadState() const;

    /// The thread's CPU time in microseconds.
    void GetThreadCPUTime( std::int64_t& outKernel, std::int64_t& outUser ) const;

    XThreadImp& GetImp() { return *itsImp; }

    /// The thread's data (XTLSRegistry). Called on the thread itself.
    XTLSRegistry::XSlots& GetTLS() { return itsTLS; }

    /// The XThread of the calling thread; null if it has none.
    static XThread* GetCurrentThread();
    static std::uint32_t GetCurrentThreadID() { return WThreadID::GetCurrent(); }

    /// The object that adopted the main thread; null if there is none yet.
    static XThread* GetMainThread();

    /// The thread that initialised the library; before that, the thread that loaded it.
    static std::uint32_t GetMainThreadID();
    static bool IsMainThread() { return GetCurrentThreadID() == GetMainThreadID(); }

    /// Same as IsMainThread: the main task has no other thread.
    static bool IsMainTask() { return IsMainThread(); }

    /// The number of started and adopted threads that are running.
    static std::uint32_t GetRunningThreadCount();

    static std::uint32_t GetProcessorCount();
    static std::uint32_t GetPhysicalProcessorCoreCount();

    /// For each physical core, the indices of its logical processors.
    static XVector<XVector<std::uint32_t>> GetCoreCPUIndexes();
    static USize GetAffinityMaskForCPU( std::uint32_t inCPUIndex );

    /// An index beyond the last core is an internal error, "inCoreIndex < indexes.size()".
    static USize GetAffinityMaskForCore( std::uint32_t inCoreIndex );
    static USize GetAffinityMaskForAllCPUs();

    /// For each logical processor its load since the previous call, from 0 to 100.
    static XVector<double> GetPercentCPUUsage();
    static void GetProcessCPUTime( std::int64_t& outKernel, std::int64_t& outUser );

    /// Notifies all listeners, in the order in which they started to listen.
    static void NotifyThreadListeners( std::uint32_t inEvent );

    /// Guards the list of listeners and is held while they are notified.
    static XMutex sThreadListenerMutex;

private:
    friend class XThreadListener;
    friend class XMainThread;
    friend class XPreventThreadStop;
    friend class XPreventThreadSuspend;

    /// The state shared by requesters, waiters and the thread. Waiters keep it alive beyond the object
    /// itself.
    struct XStates
    {
        XMutex mutex;
        XConditionVariable stateChanged;
        XConditionVariable resumed;
        std::atomic<XThreadState> requested = kThreadNotRunning; // checkpoints look at it without the mutex
        XThreadState current = kThreadNotRunning;
        std::uint32_t stopCode = 0;
        // Let waiters detect an event even if the thread is running again.
        std::uint32_t endedRuns = 0;
        std::uint32_t pauses = 0; // suspensions and ends
        bool isStarted = false;
        bool isFinishing = false;

        void SetCurrent( XThreadState inState );
        void SetRequested( XThreadState inState );
        void SetNotRunning();
    };
    using XStatesPtr = std::shared_ptr<XStates>;

    /// A wait for the thread, which begins at its construction. Does not use the XThread, which may be
    /// destroyed meanwhile.
    class XStateWait
    {
    public:
        enum XEvent
        {
            kEnd,    // of the run
            kPause,  // a suspension or the end of the run
            kAnswer, // a pause, or no request is pending any more
        };

        XStateWait( const XStatesPtr& inStates, XEvent inEvent );

        /// Sleeps until the event; returns true on a time-out. A checkpoint of the calling thread.
        bool Sleep( std::uint32_t inTimeoutMS ) const;

        /// Sleeps with a progress; throws 2701 on a time-out.
        void
        WaitWithProgress( std::uint32_t inTimeoutMS, std::uint32_t inExpectedMS, bool inAllowAbort ) const;

    private:
        bool HasCome() const;

        const XStatesPtr itsStates;
        const XEvent itsEvent;
        std::uint32_t itsRun = 0;
        std::uint32_t itsPauses = 0;
    };

    void RunThread() override;
    std::int32_t FinishThread() noexcept override;

    std::uint32_t PrepareStart();
    void EnterBody();
    void ApplyPlacement();
    void BodyEnded( std::int32_t inReturnCode );
    void MakeCurrent();
    void LeaveCurrent() noexcept;

    bool ObeyRequest();
    XThreadState GetDueRequest() const;
    void SuspendHere();
    [[noreturn]] void StopHere();

    static void SetMainThread( XThread* inThread );
    static void RegisterThreadListener( XThreadListener& inListener );
    static void UnregisterThreadListener( XThreadListener& inListener );

    XMutex itsStartMutex; // held while the thread is started, so that starts are sequential
    // Its mutex guards the members below, except those used by the thread itself only.
    const XStatesPtr itsStates;
    XString itsName;
    std::uint32_t itsThreadID = 0;
    std::int32_t itsReturnCode = 0;
    XThreadPriority itsPriority;
    USize itsAffinityMask;
    XThreadOptions itsOptions;
    const bool itsIsAcquired;
    std::unique_ptr<XThreadImp> itsImp;
    // Used by the thread itself only:
    std::int32_t itsPreventStopCount = 0;
    std::int32_t itsPreventSuspendCount = 0;
    std::uint32_t itsLastErrorNumber = 0;
    std::uint32_t* itsPreviousLastErrorSlot = nullptr;
    XTLSRegistry::XSlots itsTLS;
};
