#pragma once

#include "Ground/XTypes.h"

/// Increments a plain counter for a scope. Used by one thread, or under a lock held by the caller.
class XLockHelper
{
public:
    explicit XLockHelper( std::int32_t& ioCount ) : itsCount( ioCount ) { ++itsCount; }
    XLockHelper( const XLockHelper& ) = delete;
    XLockHelper& operator=( const XLockHelper& ) = delete;
    ~XLockHelper() { --itsCount; }

private:
    std::int32_t& itsCount;
};
