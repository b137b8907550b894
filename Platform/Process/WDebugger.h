#pragma once

#include "WPlatform.h"

#include <string_view>

/// The debugger attached to this process, if any.
class KORVALE_API WDebugger
{
public:
    static bool IsPresent();

    /// Breaks into the debugger. Without a debugger the process ends.
    static void Break();

    /// Writes text to the debugger's output, or to standard error on systems without one.
    static void Output( std::string_view inText );
};
