#pragma once

#include "Ground/XTypes.h"

class XProgressStrategy;

/// During its lifetime, progress of the thread raises no abort and does not stop or suspend the thread. An
/// abort requested meanwhile is raised afterwards. Does nothing on a thread without a strategy.
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
