#pragma once

#include "Core/Errors/XErrorLog.h"

/// Calls a hook that must not disturb its caller: what it throws ends in the error log. Internal.
template<class Hook>
void XCallHook( Hook inHook ) noexcept
{
    try
    {
        inHook();
    }
    catch ( ... )
    {
        XErrorLog::AddCurrentException();
    }
}
