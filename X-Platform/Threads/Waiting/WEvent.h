#pragma once

#include "Ground/WWaitResult.h"

#include <atomic>

/// A flag that threads wait for. A manual-reset event stays set for all threads until it is cleared; an
/// automatic-reset one lets one wait succeed, which clears it.
/// Threads: any thread may call any function; a thread whose wait has succeeded may destroy the event at
/// once.
class KORVALE_API WEvent
{
public:
    enum Reset : bool
    {
        kResetByHand,
        kResetByWait
    };

    explicit WEvent( Reset inReset = kResetByHand, bool inIsSet = false );
    WEvent( const WEvent& ) = delete;
    WEvent& operator=( const WEvent& ) = delete;

    void Set();
    void Clear();
    bool IsSet() const;

    /// Waits up to `inTimeoutMS` until the event is set. An alertable wait also ends when the thread is
    /// alerted (WThread::Wake).
    WWaitResult Wait( std::uint32_t inTimeoutMS = kNoTimeout, bool inAlertable = false );

private:
    void SetAndRelease();
    bool TryWait();

    const bool itsResetsByWait;
    std::atomic<std::uint32_t> itsState; // bit 0: set; the remaining bits: the number of sleeping threads
};
