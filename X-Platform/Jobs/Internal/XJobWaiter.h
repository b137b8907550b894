#pragma once

#include "Ground/XTypes.h"

/// Registers an idle worker, for as long as it lives, so that producers can wake it. Internal.
///
///     XJobWaiter waiter;
///     if ( !FetchJob() ) // once more: from now on whoever brings a job wakes a waiter
///         waiter.Wait();
///
/// Each wake is for one waiter, and none is left over: a job brought while all workers are busy costs nothing
/// here and is found by the first that looks for its next one.
class XJobWaiter
{
public:
    XJobWaiter();
    XJobWaiter( const XJobWaiter& ) = delete;
    XJobWaiter& operator=( const XJobWaiter& ) = delete;
    ~XJobWaiter();

    /// Waits, as a checkpoint of the thread, until there may be a job.
    void Wait();

    /// Wakes up to `inCount` waiters. To be called after the jobs have been brought.
    static void Wake( USize inCount );

private:
    bool itsIsWoken = false;
};
