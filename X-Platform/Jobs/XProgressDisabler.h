#pragma once

#include "Ground/XTypes.h"

class XProgressStrategy;

/// During its lifetime, new progresses of the thread are invalid and nothing yields. Does nothing on a thread
/// without a strategy.
class KORVALE_API XProgressDisabler
{
public:
    XProgressDisabler();
    XProgressDisabler( const XProgressDisabler& ) = delete;
    XProgressDisabler& operator=( const XProgressDisabler& ) = delete;
    ~XProgressDisabler();

private:
    XProgressStrategy* itsStrategy;
};
