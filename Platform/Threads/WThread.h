#pragma once

#include "Ground/WWaitResult.h"
#include "Threads/WThreadBody.h"
#include "Threads/Waiting/WThreadAlert.h"
#include "WNoSystemMacros.h"

#include <mutex>

/// A thread of the operating system, started with a body or adopted: it starts, wakes, yields, sleeps and
/// sets priority and affinity. The body implements states, stops and suspensions.
/// Ownership: the body owns its WThread and outlives the system's thread.
/// Errors: failures of the system throw its last error.
class KORVALE_API WThread
{
public:
    /// Prepares a thread; nothing runs until `Start`.
    explicit WThread( WThreadBody& inBody );
    WThread( const WThread& ) = delete;
    WThread& operator=( const WThread& ) = delete;

    /// Waits until the system's thread has ended, unless called on that thread.
    ~WThread();

    /// Adopts the calling thread, so that `Wake`, priority and affinity apply to it. Undone by the
    /// destructor, on the same thread.
    void Adopt();

    /// Starts the system's thread, first waiting for a previous one that is about to end. If there are too
    /// many threads, the error is `WSystemError::kNoSystemResources`.
    void Start();

    /// Ends the thread's alertable wait or sleep, or the next one it begins. Any thread may call it, even
    /// after the thread has ended.
    void Wake();

    /// Called by the body, on the thread, when it ends.
    void Ended();

    /// Sets the system's priority from the relative scale -15, -2, -1, 0, +1, +2, +15 (idle to
    /// time-critical). On Linux these map to nice values of this thread, 0 being that of the process, and
    /// raising the priority needs a privilege (CAP_SYS_NICE or RLIMIT_NICE). The thread must be running.
    void SetPriority( std::int32_t inRelativePriority );

    /// Permits the logical processors of WProcessors whose bits are set. The thread must be running.
    void SetAffinity( std::uint64_t inMask );

    /// Sets the name of the running thread in debuggers and system tools, which may truncate it (to 15
    /// characters on Linux).
    void SetName( const char* inName );

    /// User and kernel time of the running thread in microseconds; both 0 if it is not running.
    void GetCPUTime( std::int64_t& outKernel, std::int64_t& outUser ) const;

    /// The system's ID; 0 while the thread is not running.
    std::uint32_t GetThreadID() const;

    /// Yield the processor, or sleep. An alertable sleep returns kWaitAlerted if it was interrupted.
    static void Yield();
    static WWaitResult Sleep( std::uint32_t inTimeoutMS, bool inAlertable );

private:
    std::int32_t Run();
    std::uintptr_t StartSystemThread();
    void WaitForSystemThread();
    void ReleasePrevious();

    /// Waits for the system's thread to end. On that thread itself, returns at once; the thread is then
    /// released when it ends.
    static void WaitForHandle( std::uintptr_t inHandle );

    /// Does not wait; returns false while the system's thread is still running.
    static bool TryToRelease( std::uintptr_t inHandle );

    struct EndedThreads;

    WThreadBody& itsBody;
    WThreadAlert itsAlert;
    mutable std::mutex itsMutex;
    // For a started thread; guarded by the mutex of the ended threads.
    std::uintptr_t itsHandle = 0; // the system's, until it is waited for
    WThread* itsNextEnded = nullptr;
    std::uint32_t itsThreadID = 0; // guarded by itsMutex
};
