#pragma once

#include "WPlatform.h"

#include <mutex>

/// A wait of a thread that a WThreadAlert can end.
class WAlertableWait
{
public:
    /// Ends the wait, or makes it end as soon as it begins to sleep. Called by the alerting thread, only between
    /// `WThreadAlert::BeginWait` and `EndWait`.
    virtual void Alert() = 0;

protected:
    ~WAlertableWait() = default;
};

/// The bell of one thread. Whoever rings it ends the thread's alertable wait, or, when the thread is not in
/// one, the next one it begins: a ring is kept until a wait has heard it, so none is lost between a test and
/// a wait.
/// Ownership: belongs to the thread's WThread, which outlives the thread.
class WThreadAlert
{
public:
    WThreadAlert() = default;
    WThreadAlert( const WThreadAlert& ) = delete;
    WThreadAlert& operator=( const WThreadAlert& ) = delete;

    /// Rings. Any thread.
    void Alert();

    /// Forgets a ring that no wait has heard. Called before the thread starts.
    void Reset();

    /// The bell of the calling thread; null for a thread that nobody can alert.
    static WThreadAlert* GetCurrent();
    static void SetCurrent( WThreadAlert* inAlert );

    /// Lets `Alert` end `inWait`. Returns false, and takes the ring, when the bell has rung already: then the thread
    /// does not wait. On the thread itself.
    bool BeginWait( WAlertableWait& inWait );

    /// Called when the wait is over, whether or not it was a ring that ended it.
    void EndWait( bool inHasHeard );

private:
    std::mutex itsMutex;
    bool itsHasRung = false;                // guarded by itsMutex
    WAlertableWait* itsWaitingOn = nullptr; // guarded by itsMutex
};
