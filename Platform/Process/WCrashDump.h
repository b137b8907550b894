#pragma once

#include "WPlatform.h"

#include <string>

/// A readable account of where a thread is: its call stack, innermost frame first, and its registers. For
/// logs and bug reports; not meant to be parsed.
class KORVALE_API WCrashDump
{
public:
    /// Describes the calling thread at the call. Symbols are looked up once per process, which takes a while
    /// the first time.
    static std::string MakeForCurrentThread();

    /// Describes the calling thread at the moment that a signal or exception interrupted it; `inContext` is
    /// the system's own record of it (ucontext_t on Linux, CONTEXT on Windows).
    static std::string MakeForContext( void* inContext );
};
