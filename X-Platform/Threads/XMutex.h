#pragma once

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "System/WThreadID.h"
#include "Threads/XWaitResult.h"

#include <atomic>

class WDeadline;
struct XMutexSleeper;

/// A recursive mutex. A free one is taken without a call into the library and without memory; a taken one is
/// tried for `kDefaultSpinCount` turns (on machines with two processors or more), then the thread sleeps in
/// the order of arrival. Whoever unlocks leaves the mutex free for all; a sleeper that was woken and came too
/// late is handed it directly the next time, so that nobody waits for ever.
///
/// Alertable waits are checkpoints: when another thread asks this one to stop or suspend, the wait ends and
/// the checkpoint runs without the mutex. A stop is thrown out of `Lock` as XStopThreadException, with
/// nothing locked; after a suspension the wait goes on with what is left of its time. A lock that is got
/// without sleeping is no checkpoint.
///
/// Threads: any thread locks; only the owner unlocks. The thread that unlocks last may be followed at once by
/// another that destroys the mutex.
/// Errors: 2701 when a wait times out; internal errors for unlocking what is not locked.
class KORVALE_API XMutex
{
public:
    static constexpr std::uint32_t kDefaultSpinCount = 4000;

    /// `inAllocateSemaphoreNow` is accepted for callers that want to pay for the kernel object beforehand;
    /// sleeping needs none here, so nothing is allocated either way. A spin count of 0 counts as 1.
    /// Constant-initialised: statics are ready before any code runs.
    constexpr explicit XMutex(
        std::uint32_t inSpinCount = kDefaultSpinCount, bool inAllocateSemaphoreNow = false ) noexcept
        : itsSpinCount( inSpinCount > 0 ? inSpinCount : 1 )
    {
        static_cast<void>( inAllocateSemaphoreNow );
    }
    XMutex( const XMutex& ) = delete;
    XMutex& operator=( const XMutex& ) = delete;
    ~XMutex();

    /// Locks, waiting up to `inTimeoutMs` (0 tries once). Throws 2701 when the time is over. A thread that
    /// owns the mutex gets it again at once, and has to unlock it once more.
    void Lock( std::uint32_t inTimeoutMs = kNoTimeout, bool inAlertable = false );

    /// Locks if that needs no waiting, or none beyond `inTimeoutMs`. Returns whether it did.
    bool TryLock( std::uint32_t inTimeoutMs = 0 );

    void Unlock();

    /// Locks as `Lock` does but gives up, returning kWaitResultInput, when user input arrives first (see
    /// XWaitResult). `inAnyInput` counts input that was there before the wait too.
    XWaitResult
    WaitForInputOrLock( std::uint32_t inTimeoutMs, bool inAnyInput = false, bool inAlertable = false );

    bool IsLockedByCurrentThread() const { return GetOwner() == WThreadID::GetCurrent(); }

    /// The ID of the thread that has the mutex at this moment, 0 if none has: for decisions that may be wrong a moment
    /// later.
    std::uint32_t GetOwner() const { return itsState.load( std::memory_order_relaxed ) & kOwnerMask; }

    /// Internal errors unless the calling thread owns the mutex, owns it exactly once, or does not own it.
    void AssertIsLocked() const;
    void AssertIsLockedOnce() const;
    void AssertIsNotLocked() const;

    /// Declares a lock order: this mutex must not be locked before `inOther`, that is, no thread locks
    /// `inOther` while it holds this mutex and not yet `inOther`. Declarations chain. Checked where the
    /// library is built for debugging: a violation is an internal error that tells it. Both mutexes keep the
    /// declaration until one of them is destroyed.
    void DontLockBefore( const XMutex& inOther );

private:
    friend class XConditionVariable;

    enum XParkResult : std::uint32_t
    {
        kParkedAndOwner,
        kParkedAndFree,
        kParkedTooLong
    };

    // itsState is 0 while the mutex is free and nobody sleeps; otherwise the owner's ID, if there is one, and
    // two bits: somebody sleeps or is about to; a lock order is to be checked, so keep out of the fast path.
    static constexpr std::uint32_t kSleepers = 0x80000000u;
    static constexpr std::uint32_t kOrdered = 0x40000000u;
    static constexpr std::uint32_t kOwnerMask = 0x3FFFFFFFu;

    bool TryLockFast( std::uint32_t inThreadID );
    bool TryClaim( std::uint32_t inThreadID );
    bool LockSlowly( std::uint32_t inThreadID, std::uint32_t inTimeoutMs, bool inAlertable );
    bool SpinForLock( std::uint32_t inThreadID, const WDeadline& inDeadline );
    bool SleepForLock( std::uint32_t inThreadID, const WDeadline& inDeadline, bool inAlertable );
    XParkResult Park( const WDeadline& inDeadline, bool inAlertable, bool inWantsHandOff );
    bool Enqueue( XMutexSleeper& inSleeper );
    bool Leave( XMutexSleeper& inSleeper );
    void UnlockSlowly();
    bool QueueForUnlock( XMutexSleeper& inSleeper );

    std::atomic<std::uint32_t> itsState = 0;
    std::uint32_t itsRecursionCount = 0; // beyond the first lock; the owner's
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

inline void XMutex::Lock( std::uint32_t inTimeoutMs, bool inAlertable )
{
    const std::uint32_t id = WThreadID::GetCurrent();
    if ( !TryLockFast( id ) && !LockSlowly( id, inTimeoutMs, inAlertable ) )
        XThrow( kErrorTimedOut );
}

inline bool XMutex::TryLock( std::uint32_t inTimeoutMs )
{
    const std::uint32_t id = WThreadID::GetCurrent();
    return TryLockFast( id ) || LockSlowly( id, inTimeoutMs, false );
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
