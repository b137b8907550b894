#pragma once

#include "Core/Errors/XException.h"

/// Where exceptions end that must go no further: those out of handlers, hooks and jobs. The session log installs itself
/// here when it starts and writes them at level 2 with the current time. Until then XExceptions are dropped, and others
/// go to the system's event log (XInternalErrorHandlers).
struct KORVALE_API XErrorLog
{
    /// `inOrigin` is what `AddCurrentException` was given.
    void ( *AddException )( const XException& inException, const XString& inOrigin ) = nullptr;

    /// Of an exception that is no XException, the type and, where it is a standard exception, the text.
    void ( *AddOtherException )( const XString& inTypeAndText, const XString& inOrigin ) = nullptr;

    /// Installs the log for the whole process, from any thread, and returns the one that was installed before.
    static XErrorLog Install( const XErrorLog& inLog );

    /// Writes the exception that is being handled, within a catch clause, and who has thrown it, where that is told:
    /// "job ImportJob, tag 7". Silent ones (`XException::ShouldLogError`) are dropped, and so is what the log itself
    /// throws.
    static void AddCurrentException( const char* inOrigin = "" ) noexcept;
};
