#pragma once

#include "WPlatform.h"

#include <mutex>

class WParkingNode;

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

private:
    friend class WParkingNode;

    /// Lets `Alert` end the wait on `inNode`. Returns false, and takes the ring, when the bell has rung
    /// already.
    bool BeginWait( WParkingNode& inNode );
    void EndWait( bool inHasHeard );

    std::mutex itsMutex;
    bool itsHasRung = false;              // guarded by itsMutex
    WParkingNode* itsWaitingOn = nullptr; // guarded by itsMutex
};
