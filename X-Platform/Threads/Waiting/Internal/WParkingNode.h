#pragma once

#include "Ground/WDeadline.h"
#include "Ground/WWaitResult.h"
#include "System/WThreadID.h"
#include "Threads/Waiting/WThreadAlert.h"

#include <atomic>

/// One waiting thread in a WParkingQueue. Lives on the stack of that thread for the length of its wait.
class WParkingNode : private WAlertableWait
{
public:
    WParkingNode() : itsThreadID( WThreadID::GetCurrent() ) {}
    WParkingNode( const WParkingNode& ) = delete;
    WParkingNode& operator=( const WParkingNode& ) = delete;

    /// Sleeps until `Release`, after a short spin. On kWaitTimedOut and kWaitAlerted the node is still queued
    /// (or taken from the queue and about to be released): wait again, or leave with `WParkingQueue::Remove`,
    /// and if that returns false with `WaitForRelease`.
    WWaitResult Wait( const WDeadline& inDeadline, bool inAlertable );

    /// Sleeps until `Release`, which is known to be under way.
    void WaitForRelease();

    /// Ends the wait. Called once, by the thread that took the node from its queue; the released thread runs
    /// into nobody when that thread has let go of the queue before. The node may be gone when this returns.
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
    std::atomic<std::uint32_t> itsWord = 0; // what the thread sleeps on
};
