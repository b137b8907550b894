#pragma once

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/XErrorLog.h"

/// Calls a hook whose exceptions must not reach the caller: they are written to the error log. Internal.
template<class THook>
void XCallHook( THook inHook ) noexcept
{
    XSwallowErrors( inHook, [] { XErrorLog::AddCurrentException(); } );
}
