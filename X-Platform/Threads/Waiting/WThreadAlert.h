#pragma once

#include "WPlatform.h"

#include <mutex>

/// A wait that a WThreadAlert can end.
class WAlertableWait
{
public:
    /// Ends the wait, or makes it end as soon as it begins to sleep. Called by the alerting thread, only
    /// between `WThreadAlert::BeginWait` and `EndWait`.
    virtual void Alert() = 0;

protected:
    ~WAlertableWait() = default;
};

/// The alert flag of one thread. Alerting ends the thread's current alertable wait, or else the next one it
/// begins: an alert stays pending until a wait has consumed it, so none is lost between a test and a wait.
/// Ownership: belongs to the thread's WThread, which outlives the thread.
class WThreadAlert
{
public:
    WThreadAlert() = default;
    WThreadAlert( const WThreadAlert& ) = delete;
    WThreadAlert& operator=( const WThreadAlert& ) = delete;

    /// Alerts the thread. Any thread may call it.
    void Alert();

    /// Discards a pending alert. Called before the thread starts.
    void Reset();

    /// The alert of the calling thread; null for a thread that cannot be alerted.
    static WThreadAlert* GetCurrent();
    static void SetCurrent( WThreadAlert* inAlert );

    /// Registers `inWait` so that `Alert` ends it. If an alert is pending, consumes it and returns false: the
    /// thread must not wait then. Called on the thread itself.
    bool BeginWait( WAlertableWait& inWait );

    /// Called at the end of the wait, whether or not an alert ended it.
    void EndWait( bool inWasAlerted );

private:
    std::mutex itsMutex;
    bool itsIsPending = false;              // guarded by itsMutex
    WAlertableWait* itsWaitingOn = nullptr; // guarded by itsMutex
};
