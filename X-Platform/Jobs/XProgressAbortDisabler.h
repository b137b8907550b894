#pragma once

#include "Ground/XTypes.h"

class XProgressStrategy;

/// While it lives, progress of the thread neither raises an abort nor stops nor suspends the thread. An abort
/// that is asked for meanwhile is raised afterwards. Does nothing on a thread without a strategy.
class KORVALE_API XProgressAbortDisabler
{
public:
    XProgressAbortDisabler();
    XProgressAbortDisabler( const XProgressAbortDisabler& ) = delete;
    XProgressAbortDisabler& operator=( const XProgressAbortDisabler& ) = delete;
    ~XProgressAbortDisabler();

private:
    XProgressStrategy* itsStrategy;
};
