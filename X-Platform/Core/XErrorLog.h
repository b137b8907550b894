#pragma once

#include "Core/XException.h"

#include <exception>

/// Where exceptions end that must go no further: those out of handlers and hooks that must not throw. The session log
/// installs itself here when it starts and writes them at level 2 with the current time; until then they are dropped.
struct KORVALE_API XErrorLog
{
    void ( *AddException )( const XException& inException ) = nullptr;
    void ( *AddOtherException )( const std::exception& inException ) = nullptr;

    /// Installs the log for the whole process, from any thread, and returns the one that was installed before.
    static XErrorLog Install( const XErrorLog& inLog );

    /// Writes the exception that is being handled, within a catch clause. Silent ones (`XException::ShouldLogError`) and
    /// those of no standard class are dropped, and so is what the log itself throws.
    static void AddCurrentException() noexcept;
};
