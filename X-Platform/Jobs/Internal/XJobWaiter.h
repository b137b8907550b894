#pragma once

#include "Ground/XTypes.h"

/// Registers an idle worker during its lifetime, so that producers can wake it. Internal.
///
///  XJobWaiter waiter;
///  if ( !FetchJob() ) // look again: from now on a producer that adds a job wakes a waiter
///      waiter.Wait();
///
/// Each wake is for one waiter, and none is left over: adding a job while all workers are busy signals
/// nothing; the first worker that looks for its next job finds it.
class XJobWaiter
{
public:
    XJobWaiter();
    XJobWaiter( const XJobWaiter& ) = delete;
    XJobWaiter& operator=( const XJobWaiter& ) = delete;
    ~XJobWaiter();

    /// Waits until there may be a job. A checkpoint of the thread.
    void Wait();

    /// Wakes up to `inCount` waiters. Call it after adding the jobs.
    static void Wake( USize inCount );

private:
    bool itsIsWoken = false;
};
