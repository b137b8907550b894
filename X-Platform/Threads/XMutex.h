#pragma once

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "System/WThreadID.h"
#include "Threads/XWaitResult.h"

#include <atomic>

class WDeadline;
struct XMutexSleeper;

/// A recursive mutex. Locking a free mutex needs no call into the library and no memory. If it is taken, the
/// thread spins for `kDefaultSpinCount` turns (on machines with two or more processors), then sleeps in the
/// order of arrival. An unlock leaves the mutex free for all threads; a sleeper that was woken but did not
/// get it receives the mutex directly the next time, so that no thread starves.
///
/// Alertable waits are checkpoints: if another thread requests a stop or a suspension, the wait ends and the
/// checkpoint runs without the mutex. A stop leaves `Lock` as XStopThreadException, with nothing locked;
/// after a suspension the wait continues with the remaining time. A lock that succeeds without sleeping is
/// not a checkpoint.
///
/// Threads: any thread may lock; only the owner unlocks. The next owner may destroy the mutex at once after
/// the last unlock.
/// Errors: 2701 on a time-out; internal errors for unlocking a mutex that is not locked.
class KORVALE_API XMutex
{
public:
    static constexpr std::uint32_t kDefaultSpinCount = 4000;

    /// `inAllocateSemaphoreNow` is ignored: it exists for callers that want to allocate the kernel object in
    /// advance, and sleeping needs none. A spin count of 0 counts as 1. Constant-initialised: static mutexes
    /// are usable before any code runs.
    constexpr explicit XMutex(
        std::uint32_t inSpinCount = kDefaultSpinCount, bool inAllocateSemaphoreNow = false ) noexcept
        : itsSpinCount( inSpinCount > 0 ? inSpinCount : 1 )
    {
        static_cast<void>( inAllocateSemaphoreNow );
    }
    XMutex( const XMutex& ) = delete;
    XMutex& operator=( const XMutex& ) = delete;
    ~XMutex();

    /// Locks the mutex, waiting up to `inTimeoutMS` (0 tries once). Throws 2701 on a time-out. The owner gets
    /// the mutex again at once, and must unlock it once more.
    void Lock( std::uint32_t inTimeoutMS = kNoTimeout, bool inAlertable = false );

    /// Locks the mutex, waiting at most `inTimeoutMS`. Returns whether it is locked.
    bool TryLock( std::uint32_t inTimeoutMS = 0 );

    void Unlock();

    /// Like `Lock`, but returns kWaitResultInput if user input arrives first (see XWaitResult); with
    /// `inAnyInput`, so does earlier input.
    XWaitResult
    WaitForInputOrLock( std::uint32_t inTimeoutMS, bool inAnyInput = false, bool inAlertable = false );

    bool IsLockedByCurrentThread() const { return GetOwner() == WThreadID::GetCurrent(); }

    /// The ID of the current owner, 0 if there is none. Only a hint: it may be out of date on return.
    std::uint32_t GetOwner() const { return itsState.load( std::memory_order_relaxed ) & kOwnerMask; }

    /// Internal errors unless the calling thread owns the mutex, owns it exactly once, or does not own it.
    void AssertIsLocked() const;
    void AssertIsLockedOnce() const;
    void AssertIsNotLocked() const;

    /// Declares a lock order: no thread may lock `inOther` while it holds this mutex, unless it already holds
    /// `inOther`. Declarations are transitive. Checked in debug builds of the library: a violation is an
    /// internal error. The declaration holds until one of the mutexes is destroyed.
    void DontLockBefore( const XMutex& inOther );

private:
    friend class XConditionVariable;

    enum XParkResult : std::uint32_t
    {
        kParkedAndOwner,
        kParkedAndFree,
        kParkedTooLong
    };

    // itsState is 0 while the mutex is free and no thread sleeps. Otherwise it is the owner's ID, if any, and
    // two flags: a thread sleeps or is about to; a lock order must be checked, which disables the fast path.
    static constexpr std::uint32_t kSleepers = 0x80000000u;
    static constexpr std::uint32_t kOrdered = 0x40000000u;
    static constexpr std::uint32_t kOwnerMask = 0x3FFFFFFFu;

    bool TryLockFast( std::uint32_t inThreadID );
    bool TryClaim( std::uint32_t inThreadID );
    bool LockSlowly( std::uint32_t inThreadID, std::uint32_t inTimeoutMS, bool inAlertable );
    bool SpinForLock( std::uint32_t inThreadID, const WDeadline& inDeadline );
    bool SleepForLock( std::uint32_t inThreadID, const WDeadline& inDeadline, bool inAlertable );
    XParkResult Park( const WDeadline& inDeadline, bool inAlertable, bool inWantsHandOff );
    bool Enqueue( XMutexSleeper& inSleeper );
    bool Leave( XMutexSleeper& inSleeper );
    void UnlockSlowly();
    bool QueueForUnlock( XMutexSleeper& inSleeper );

    std::atomic<std::uint32_t> itsState = 0;
    std::uint32_t itsRecursionCount = 0; // additional locks of the owner
    const std::uint32_t itsSpinCount;
};

inline bool XMutex::TryLockFast( std::uint32_t inThreadID )
{
    std::uint32_t state = itsState.load( std::memory_order_relaxed );
    if ( state == 0 )
        return itsState.compare_exchange_strong(
            state, inThreadID, std::memory_order_acquire, std::memory_order_relaxed );
    if ( ( state & kOwnerMask ) != inThreadID )
        return false;
    ++itsRecursionCount;
    return true;
}

inline void XMutex::Lock( std::uint32_t inTimeoutMS, bool inAlertable )
{
    const std::uint32_t id = WThreadID::GetCurrent();
    if ( !TryLockFast( id ) && !LockSlowly( id, inTimeoutMS, inAlertable ) )
        XThrow( kErrorTimedOut );
}

inline bool XMutex::TryLock( std::uint32_t inTimeoutMS )
{
    const std::uint32_t id = WThreadID::GetCurrent();
    return TryLockFast( id ) || LockSlowly( id, inTimeoutMS, false );
}

inline void XMutex::Unlock()
{
    std::uint32_t state = WThreadID::GetCurrent();
    if ( GetOwner() == state && itsRecursionCount != 0 )
    {
        --itsRecursionCount;
        return;
    }
    if ( !itsState.compare_exchange_strong( state, 0, std::memory_order_release, std::memory_order_relaxed ) )
        UnlockSlowly();
}
