#pragma once

#include "Ground/WWaitResult.h"
#include "Threads/WThreadBody.h"
#include "Threads/Waiting/WThreadAlert.h"
#include "WNoSystemMacros.h"

#include <mutex>

/// A thread of the operating system, started on a body or adopted. It starts, wakes, yields, sleeps and takes
/// priority and affinity; what a thread means to the library (states, stop, suspend) is the body's affair.
/// Ownership: the body owns its WThread and outlives the system's thread.
/// Errors: what the system refuses throws its last error as an exception.
class KORVALE_API WThread
{
public:
    /// Prepares a thread; nothing runs until `Start`.
    explicit WThread( WThreadBody& inBody );
    WThread( const WThread& ) = delete;
    WThread& operator=( const WThread& ) = delete;

    /// Waits until the system's thread is gone, unless called on it.
    ~WThread();

    /// Adopts the calling thread: `Wake` reaches it, and its priority and affinity can be set. Undone by the
    /// destructor, on the same thread.
    void Adopt();

    /// Starts the system's thread, waiting first for one that is about to end. Where there are too many
    /// threads the error is `WSystemError::kNoSystemResources`.
    void Start();

    /// Ends the thread's alertable wait or sleep, or the next one it begins. Any thread; harmless when it has
    /// ended.
    void Wake();

    /// Called by the body, on the thread, as it ends.
    void Ended();

    /// Sets the system's priority from the relative scale -15, -2, -1, 0, +1, +2, +15 (idle to
    /// time-critical). On Linux these are nice values of the one thread, 0 being that of the process, and going up
    /// again needs the right to (CAP_SYS_NICE or RLIMIT_NICE). The thread must run.
    void SetPriority( std::int32_t inRelativePriority );

    /// Allows the logical processors of WProcessors whose bits are set. The thread must run.
    void SetAffinity( std::uint64_t inMask );

    /// Gives the running thread the name under which debuggers and the system's tools show it, as much as they show
    /// (15 characters on Linux).
    void SetName( const char* inName );

    /// User and kernel time of the running thread in microseconds; both 0 when it does not run.
    void GetCPUTime( std::int64_t& outKernel, std::int64_t& outUser ) const;

    /// The system's ID, 0 while the thread does not run.
    std::uint32_t GetThreadID() const;

    /// Give up the processor; sleep. An alertable sleep returns kWaitAlerted when it was cut short.
    static void Yield();
    static WWaitResult Sleep( std::uint32_t inTimeoutMs, bool inAlertable );

private:
    friend class WThreadManager;
    std::int32_t Run();
    std::uintptr_t StartSystemThread();
    void WaitForSystemThread();
    void ReleasePrevious();

    /// Returns at once on the system's thread itself, which is released when it ends then.
    static void WaitForHandle( std::uintptr_t inHandle );

    /// Does not wait; false while the system's thread has something to do yet.
    static bool TryToRelease( std::uintptr_t inHandle );

    struct EndedThreads;

    WThreadBody& itsBody;
    WThreadAlert itsAlert;
    mutable std::mutex itsMutex;
    // Of a started thread; guarded by the mutex of the ended threads.
    std::uintptr_t itsHandle = 0; // the system's, until it is waited for
    WThread* itsNextEnded = nullptr;
    std::uint32_t itsThreadID = 0; // guarded by itsMutex
};
