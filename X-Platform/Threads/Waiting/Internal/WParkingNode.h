#pragma once

#include "Ground/WDeadline.h"
#include "Ground/WWaitResult.h"
#include "System/WThreadID.h"
#include "Threads/Waiting/WThreadAlert.h"

#include <atomic>

/// One waiting thread in a WParkingQueue. Lives on the stack of that thread during its wait.
class WParkingNode : private WAlertableWait
{
public:
    WParkingNode() : itsThreadID( WThreadID::GetCurrent() ) {}
    WParkingNode( const WParkingNode& ) = delete;
    WParkingNode& operator=( const WParkingNode& ) = delete;

    /// Blocks until `Release`, after spinning briefly. After kWaitTimedOut or kWaitAlerted the node is still
    /// queued, or has been removed and is about to be released: either wait again, or leave with
    /// `WParkingQueue::Remove` and, if that returns false, `WaitForRelease`.
    WWaitResult Wait( const WDeadline& inDeadline, bool inAlertable );

    /// Blocks until a `Release` that is already under way.
    void WaitForRelease();

    /// Ends the wait. Called once, by the thread that removed the node from its queue, preferably after it
    /// has unlocked the queue, so that the released thread does not contend for it. The node may no longer
    /// exist on return.
    void Release();

    std::uint32_t GetThreadID() const { return itsThreadID; }

private:
    friend class WParkingQueue;

    bool SpinForRelease() const;
    WWaitResult SleepUntilWoken( const WDeadline& inDeadline );
    void Alert() override;

    const std::uint32_t itsThreadID;
    const void* itsKey = nullptr;           // guarded by the queue; null while not queued
    WParkingNode* itsPrevious = nullptr;    // guarded by the queue
    WParkingNode* itsNext = nullptr;        // guarded by the queue
    std::atomic<std::uint32_t> itsWord = 0; // the word on which the thread sleeps
};
