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

/// The platform's part of a thread: starts it, wakes it, sets its priority and affinity.
using XThreadImp = WThread;

/// A thread that can be asked to stop and to suspend. It obeys at checkpoints (`TestCancelThread`), which
/// progress calls and alertable waits run too: there a stop is thrown as XStopThreadException through the
/// thread's own code, and a suspended thread sleeps until it is resumed or stopped.
///
/// Derive from it, implement `RunThreadSelf`, call `StartThread`. A thread that has ended can be started
/// again. The destructor of the most derived class should stop the thread (`StopThread`), while the members
/// it uses exist; the base's stops it and waits for it too, on any thread, so that no thread outlives its
/// object, but cannot wait for a hook that the thread is about to call. An object must not be destroyed by its
/// own thread's body.
///
/// Ownership: whoever creates the object owns it. Threads that wait on it when it is destroyed are released
/// as if the thread had ended; what they use of it outlives the object.
/// Threads: every operation may be called from any thread unless it says otherwise.
/// Errors: waits throw 2701 when their time is over; operations that begin with Sleep tell it by their
/// result. Waits for another thread are alertable: a caller that is asked to stop leaves them by
/// XStopThreadException, so that threads that stop one another do not wait for ever. A thread that waits for
/// its own end waits until its time is over.
class KORVALE_API XThread : private WThreadBody
{
public:
    enum XThreadState : std::uint32_t
    {
        kThreadNotRunning = 0,
        kThreadRunning = 1,
        kThreadSuspended = 2
    };

    /// Bits for the application's own use; the library defines none.
    using XThreadOptions = std::uint32_t;
    static constexpr XThreadOptions kNoThreadOptions = 0;

    /// The return code of a thread whose body threw what is no XException.
    static constexpr std::int32_t kUnknownExceptionCode = -4;

    /// The stop code of `StartThread`, which cannot be withdrawn nor replaced by another.
    static constexpr std::uint32_t kRestartStopCode = 2702;

    XThread( const XThread& ) = delete;
    XThread& operator=( const XThread& ) = delete;

    /// Stops the thread if it still runs, cleans up its slots, and releases whoever waits on the object.
    virtual ~XThread();

protected:
    /// The thread's body. Its result becomes the return code.
    virtual std::int32_t RunThreadSelf() = 0;

    /// Hooks; what they throw is swallowed. On the thread: as it ends, just before and after it is suspended,
    /// just before a stop is thrown.
    virtual void FinishThreadSelf() {}
    virtual void Suspending() {}
    virtual void Resuming() {}
    virtual void Stopping() {}

    /// Called on the requesting thread when a stop has been requested, so that a subclass can unblock its
    /// thread. May throw, to the requester.
    virtual void AsyncStopThreadSelf( std::uint32_t inStopCode );

    /// With `inAcquire` the object adopts the calling thread, which runs already; it has to be destroyed on
    /// that thread.
    XThread(
        const XString& inName, XThreadPriority inPriority, XThreadOptions inOptions = kNoThreadOptions,
        bool inAcquire = false );

    /// Withdraws a stop that the thread has been asked for and has not carried out, or has caught. Runs the
    /// checkpoint instead, which throws, when the stop code is `kRestartStopCode`. On the thread itself.
    void ResetCancelState();

public:
    /// Starts the thread, stopping a previous run first (stop code 2702), and returns when it is in its body
    /// and the listeners have heard so. On the running thread itself this only stops it. A priority or
    /// affinity set before is taken over as far as the system grants it. Throws the system's last error when
    /// no thread can be started (1028 where there are too many), 1012 when the new one lacks the memory to
    /// begin.
    void StartThread();

    /// Asks the thread to stop. On the thread itself the stop is thrown at once, unless it is prevented.
    void AsyncStopThread( std::uint32_t inStopCode = 0 );

    /// Asks the thread to stop and waits until it has. Does not wait on the thread itself.
    void StopThread( std::uint32_t inStopCode = 0 );

    /// Asks the thread to suspend itself. On the thread itself this returns when it has been resumed, unless
    /// suspending is prevented.
    void AsyncSuspendThread();

    /// Asks the thread to suspend itself and waits until it has, has ended, or has nothing left to obey: it
    /// has been told to resume meanwhile, or has withdrawn a stop that was pending already.
    void SuspendThread();

    /// Lets a suspended thread run again and withdraws a suspend request that it has not obeyed yet.
    void ResumeThread();

    /// Wait until the run has ended; until the thread is not running, or has not been for a moment since the
    /// call (suspended or ended).
    void WaitForTerminate( std::uint32_t inTimeoutMs = kNoTimeout );
    void WaitForSuspend( std::uint32_t inTimeoutMs = kNoTimeout );

    /// The same with a progress of the calling thread, shown after two seconds, whose user may abort the wait (1001). The
    /// wait for suspension shows how much of `inExpectedMs` has passed; without `inAllowAbort` neither the user nor a
    /// stop ends it. Throw 2701 when the time is over.
    void WaitForTerminateWithProgress( std::uint32_t inTimeoutMs = kNoTimeout );
    void WaitForSuspendWithProgress(
        std::uint32_t inTimeoutMs = kNoTimeout, std::uint32_t inExpectedMs = kNoTimeout,
        bool inAllowAbort = true );

    /// `StopThread` and `SuspendThread` with such a progress.
    void StopThreadWithProgress( std::uint32_t inStopCode = 0 );
    void SuspendThreadWithProgress( std::uint32_t inExpectedMs = kNoTimeout, bool inAllowAbort = true );

    /// The same; true when the time is over.
    bool SleepUntilTerminate( std::uint32_t inTimeoutMs );
    bool SleepUntilSuspended( std::uint32_t inTimeoutMs );

    /// Wait until the thread has ended or user input arrives (see XWaitResult).
    XWaitResult WaitForInputOrTerminate( std::uint32_t inTimeoutMs );
    XWaitResult SleepUntilInputOrTerminate( std::uint32_t inTimeoutMs );

    /// The checkpoint: obeys what the thread has been asked for. On the thread itself; the static form does
    /// nothing on a thread that no XThread owns.
    void TestCancelThread();
    static void TestCancelCurrentThread();

    /// Give up the processor; sleep. An alertable sleep is a checkpoint at its start and whenever the thread
    /// is asked for something, and otherwise lasts its time. The form with input returns kWaitResultTimeout
    /// at its end. On the thread itself.
    void YieldThread();
    void SleepThread( std::uint32_t inTimeoutMs, bool inAlertable = false );
    XWaitResult SleepThreadUnlessInput( std::uint32_t inTimeoutMs, bool inAlertable = false );
    static void YieldCurrentThread();
    static void SleepCurrentThread( std::uint32_t inTimeoutMs, bool inAlertable = false );
    static XWaitResult SleepCurrentThreadUnlessInput( std::uint32_t inTimeoutMs, bool inAlertable = false );

    /// The system knows a started thread by this name too, or by its beginning.
    XString GetDebugName() const;
    void SetDebugName( const XString& inName );
    std::int32_t GetThreadReturnCode() const;
    void SetThreadReturnCode( std::int32_t inReturnCode );

    /// Each returns the options from before.
    XThreadOptions SetThreadOptions( XThreadOptions inOptions );
    XThreadOptions AddThreadOptions( XThreadOptions inOptions );
    XThreadOptions RemoveThreadOptions( XThreadOptions inOptions );
    XThreadOptions GetThreadOptions() const;

    /// Setting the level in force does nothing; a level above 6 is an internal error, "false". Where the
    /// system refuses (Linux grants levels above the present one only to those with the right) its last error
    /// is thrown and the level stays. A thread that is not running takes the level when it starts, as far as the system
    /// grants it: else it has that of the thread that has started it.
    void SetThreadPriority( XThreadPriority inPriority );
    XThreadPriority GetThreadPriority() const;

    /// Bit i allows logical processor i of those that the process may run on; where it may run on more than 64, all
    /// bits allow all of them. No bit is an internal error, "inMask != USize( 0 )".
    void SetThreadAffinityMask( USize inMask );
    USize GetThreadAffinityMask() const;

    /// The system's ID; 0 until started.
    std::uint32_t GetThreadID() const;
    bool IsThreadRunning() const { return GetLastThreadState() == kThreadRunning; }
    bool IsThreadSuspended() const { return GetLastThreadState() == kThreadSuspended; }
    bool IsAcquiredThread() const { return itsIsAcquired; }

    /// The state the thread is in, and the one it has been asked for (kThreadNotRunning is a stop).
    XThreadState GetLastThreadState() const;
    XThreadState GetNextThreadState() const;

    /// CPU time of the thread in microseconds.
    void GetThreadCPUTime( std::int64_t& outKernel, std::int64_t& outUser ) const;

    XThreadImp& GetImp() { return *itsImp; }

    /// The thread's own data (XTLSRegistry). On the thread itself.
    XTLSRegistry::XSlots& GetTLS() { return itsTLS; }

    /// The XThread of the calling thread; null when none owns it.
    static XThread* GetCurrentThread();
    static std::uint32_t GetCurrentThreadID() { return WThreadID::GetCurrent(); }

    /// The object that adopted the main thread; null before there is one.
    static XThread* GetMainThread();

    /// The thread that the library's initialisation ran on; before it, the thread that loaded the library.
    static std::uint32_t GetMainThreadID();
    static bool IsMainThread() { return GetCurrentThreadID() == GetMainThreadID(); }

    /// The main thread is the main task's only thread.
    static bool IsMainTask() { return IsMainThread(); }

    /// Started and adopted threads that run just now.
    static std::uint32_t GetRunningThreadCount();

    static std::uint32_t GetProcessorCount();
    static std::uint32_t GetPhysicalProcessorCoreCount();

    /// For each physical core the indexes of its logical processors.
    static XVector<XVector<std::uint32_t>> GetCoreCPUIndexes();
    static USize GetAffinityMaskForCPU( std::uint32_t inCPUIndex );

    /// An index beyond the cores is an internal error, "inCoreIndex < indexes.size()".
    static USize GetAffinityMaskForCore( std::uint32_t inCoreIndex );
    static USize GetAffinityMaskForAllCPUs();

    /// For each logical processor its load since the previous call, 0 to 100.
    static XVector<double> GetPercentCPUUsage();
    static void GetProcessCPUTime( std::int64_t& outKernel, std::int64_t& outUser );

    /// Tells all listeners, in the order in which they began to listen.
    static void NotifyThreadListeners( std::uint32_t inEvent );

    /// Guards the list of listeners and is held while they hear an event.
    static XMutex sThreadListenerMutex;

private:
    friend class XThreadListener;
    friend class XMainThread;
    friend class XPreventThreadStop;
    friend class XPreventThreadSuspend;

    /// What requesters, waiters and the thread share. Kept alive by whoever waits, beyond the object itself.
    struct XStates
    {
        XMutex mutex;
        XConditionVariable stateChanged;
        XConditionVariable resumed;
        std::atomic<XThreadState> requested = kThreadNotRunning; // checkpoints look at it without the mutex
        XThreadState current = kThreadNotRunning;
        std::uint32_t stopCode = 0;
        // Tell waiters that what they wait for has been, even if the thread runs again.
        std::uint32_t endedRuns = 0;
        std::uint32_t pauses = 0; // suspensions and ends
        bool isStarted = false;
        bool isFinishing = false;

        void SetCurrent( XThreadState inState );
        void SetRequested( XThreadState inState );
        void SetNotRunning();
    };
    using XStatesPtr = std::shared_ptr<XStates>;

    /// A wait for the thread, which begins when this is made. Uses nothing of the XThread, which may be
    /// destroyed meanwhile.
    class XStateWait
    {
    public:
        enum XEvent
        {
            kEnd,    // of the run
            kPause,  // a suspension or the end of the run
            kAnswer, // a pause, or that nothing is requested any more
        };

        XStateWait( const XStatesPtr& inStates, XEvent inEvent );

        /// Sleeps until the event; true when the time is over first. A checkpoint of the calling thread.
        bool Sleep( std::uint32_t inTimeoutMs ) const;

        /// The same with progress; throws 2701 when the time is over first.
        void
        WaitWithProgress( std::uint32_t inTimeoutMs, std::uint32_t inExpectedMs, bool inAllowAbort ) const;

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

    XMutex itsStartMutex; // held while the thread is started, so that starts come one after another
    // Its mutex guards the members below, but for those that only the thread itself uses.
    const XStatesPtr itsStates;
    XString itsName;
    std::uint32_t itsThreadID = 0;
    std::int32_t itsReturnCode = 0;
    XThreadPriority itsPriority;
    USize itsAffinityMask;
    XThreadOptions itsOptions;
    const bool itsIsAcquired;
    std::unique_ptr<XThreadImp> itsImp;
    // The thread's own:
    std::uint32_t itsPreventStopCount = 0;
    std::uint32_t itsPreventSuspendCount = 0;
    std::uint32_t itsLastErrorNumber = 0;
    std::uint32_t* itsPreviousLastErrorSlot = nullptr;
    XTLSRegistry::XSlots itsTLS;
};
