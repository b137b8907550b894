#pragma once

#include "WPlatform.h"

class XLockable;

/// Loads the data of a lockable object when it is first locked.
class KORVALE_API XDataFetcher
{
public:
    virtual ~XDataFetcher() = default;

    /// Fills the object, whose mutex is locked. If it throws, the next lock tries again.
    virtual void FetchData( XLockable& ioObject ) = 0;

protected:
    XDataFetcher() = default;
    XDataFetcher( const XDataFetcher& ) = default;
    XDataFetcher& operator=( const XDataFetcher& ) = default;
};
