#pragma once

#include "WPlatform.h"

#include <string_view>

/// The debugger that may be attached to this process.
class KORVALE_API WDebugger
{
public:
    static bool IsPresent();

    /// Stops in the debugger at the call. Without a debugger the process ends.
    static void Break();

    /// Writes text to the debugger's output, or to standard error on systems that have no such thing.
    static void Output( std::string_view inText );
};
