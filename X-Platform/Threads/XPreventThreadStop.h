#pragma once

#include "WPlatform.h"

class XThread;

/// Prevents stops of the current thread for a scope. A stop requested meanwhile takes effect at the first
/// checkpoint after the outermost such scope. Does nothing on a thread without an XThread.
class KORVALE_API XPreventThreadStop
{
public:
    XPreventThreadStop();
    XPreventThreadStop( const XPreventThreadStop& ) = delete;
    XPreventThreadStop& operator=( const XPreventThreadStop& ) = delete;
    ~XPreventThreadStop();

private:
    XThread* const itsThread;
};
