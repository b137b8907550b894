#pragma once

#include "Ground/XTypes.h"

/// Somebody who can give up memory when blocks alone do not suffice: the owner of a cache, for instance.
class KORVALE_API XMemoryManagerListener
{
public:
    virtual ~XMemoryManagerListener() = default;

    /// Frees what it can, up to `inBytes`, and returns how many bytes that were. Called on the thread that needs the
    /// memory and under the manager's allocation mutex, so it must not wait for another thread, nor lock a handle that
    /// another thread may be locking. It may purge handles, give up others than that which is being locked, and add and
    /// remove listeners; memory that it needs itself is made without asking listeners. To lock a handle for which the bytes
    /// are just being brought to their place is an internal error. Exceptions are swallowed and count as 0.
    virtual USize64 FreeMemory( USize64 inBytes ) = 0;
};
