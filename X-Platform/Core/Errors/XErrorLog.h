#pragma once

#include "Core/Errors/XException.h"

/// The last resort for exceptions that must not propagate: those thrown by handlers, hooks and jobs. The
/// session log installs itself here when it starts, and writes them at level 2 with the current time. Until
/// then XExceptions are dropped, and other exceptions are written to the system's event log
/// (XInternalErrorHandlers).
struct KORVALE_API XErrorLog
{
    /// `inOrigin` is the argument of `AddCurrentException`.
    void ( *AddException )( const XException& inException, const XString& inOrigin ) = nullptr;

    /// For exceptions that are not XExceptions: the type, and for a standard exception its text.
    void ( *AddOtherException )( const XString& inTypeAndText, const XString& inOrigin ) = nullptr;

    /// Installs the log for the whole process, from any thread, and returns the one that was installed before.
    static XErrorLog Install( const XErrorLog& inLog );

    /// Logs the exception that is being handled; call it within a catch clause. `inOrigin` names the code
    /// that threw it, such as "job ImportJob, tag 7"; it may be empty. Silent exceptions
    /// (`XException::ShouldLogError`) and exceptions thrown by the log itself are dropped.
    static void AddCurrentException( const char* inOrigin = "" ) noexcept;
};
