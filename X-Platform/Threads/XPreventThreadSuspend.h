#pragma once

#include "WPlatform.h"

class XThread;

/// Keeps the current thread from being suspended for a scope. A suspension requested meanwhile is carried out
/// at the first checkpoint after the last such scope. Nothing on a thread that no XThread owns.
class KORVALE_API XPreventThreadSuspend
{
public:
    XPreventThreadSuspend();
    XPreventThreadSuspend( const XPreventThreadSuspend& ) = delete;
    XPreventThreadSuspend& operator=( const XPreventThreadSuspend& ) = delete;
    ~XPreventThreadSuspend();

private:
    XThread* const itsThread;
};
