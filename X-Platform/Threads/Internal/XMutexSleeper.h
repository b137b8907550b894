#pragma once

#include "Threads/Waiting/Internal/WParkingNode.h"

/// A thread in the parking queue of an XMutex. Internal to the locks.
struct XMutexSleeper : WParkingNode
{
    explicit XMutexSleeper( bool inWantsHandOff ) : wantsHandOff( inWantsHandOff ) {}

    const bool wantsHandOff; // was woken once but did not get the mutex
    bool isOwner = false;    // set by the thread that hands the mutex over
};
