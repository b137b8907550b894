#pragma once

#include "WPlatform.h"

class XThread;

/// Keeps the current thread from being stopped for a scope. A stop requested meanwhile is carried out at the
/// first checkpoint after the last such scope. Nothing on a thread that no XThread owns.
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
