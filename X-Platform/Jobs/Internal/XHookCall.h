#pragma once

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XErrorLog.h"

/// Calls a hook that must not disturb its caller: what it throws ends in the error log. Internal.
template<class Hook>
void XCallHook( Hook inHook ) noexcept
{
    XSwallowErrors( inHook, [] { XErrorLog::AddCurrentException(); } );
}
