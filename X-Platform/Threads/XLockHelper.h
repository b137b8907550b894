#pragma once

#include "Ground/XTypes.h"

/// Counts a plain counter up for a scope and down again, on one thread or under a lock of the caller's.
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
