#pragma once

#include "WPlatform.h"

class XThread;

/// Prevents suspensions of the current thread for a scope. A suspension requested meanwhile takes effect at
/// the first checkpoint after the outermost such scope. Does nothing on a thread without an XThread.
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
