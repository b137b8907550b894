#pragma once

#include "WPlatform.h"

#include <string>

/// A readable description of the state of a thread: its call stack, innermost frame first, and its registers.
/// For logs and bug reports; not meant to be parsed.
class KORVALE_API WCrashDump
{
public:
    /// Describes the calling thread at this point. Symbols are loaded once per process, so the first call is
    /// slow.
    static std::string MakeForCurrentThread();

    /// Describes the calling thread at the point where a signal or exception interrupted it; `inContext` is
    /// the system's record (ucontext_t on Linux, CONTEXT on Windows).
    static std::string MakeForContext( void* inContext );
};
