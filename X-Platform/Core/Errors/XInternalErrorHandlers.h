#pragma once

#include "Core/Errors/XInternalException.h"

/// The handlers that `KorvaleInternalError` calls. WInitCore installs the platform's crash dump and event
/// log, the session log adds itself when it starts; tests install their own. Null handlers are skipped, and
/// exceptions thrown by handlers are swallowed, so that the caller always gets the internal error itself.
struct KORVALE_API XInternalErrorHandlers
{
    /// A readable stack trace of the calling thread with its registers.
    XString ( *MakeCrashDump )() = nullptr;

    /// Writes an error entry to the system's event log.
    void ( *AddToEventLog )( const XString& inMessage ) = nullptr;

    /// Adds the exception to the session log at level 2.
    void ( *AddToSessionLog )( const XInternalException& inException ) = nullptr;

    /// Installs `inHandlers` for the whole process, from any thread, and returns those that were installed
    /// before.
    static XInternalErrorHandlers Install( const XInternalErrorHandlers& inHandlers );
    static XInternalErrorHandlers Get();
};
