#pragma once

#include "Ground/XTypes.h"

/// Frees memory on request when purging blocks is not sufficient, for instance the owner of a cache.
class KORVALE_API XMemoryManagerListener
{
public:
    virtual ~XMemoryManagerListener() = default;

    /// Frees up to `inBytes` if possible, and returns the number of bytes freed. Called on the thread that
    /// needs the memory, under the manager's allocation mutex, so it must not wait for another thread or lock
    /// a handle that another thread may be locking. It may purge handles, destroy handles other than the one
    /// being locked, and add and remove listeners; its own allocations do not call listeners. Locking a
    /// handle whose bytes are just being moved is an internal error. Exceptions are swallowed and count as 0.
    virtual USize64 FreeMemory( USize64 inBytes ) = 0;
};
