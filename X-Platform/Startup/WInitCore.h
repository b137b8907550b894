#pragma once

#include "Core/Errors/XInternalErrorHandlers.h"

#include <memory>

class XMainThread;

/// Initialises the library for a process. Construct one on the main thread before using anything else, and
/// destroy it last. It starts the clock, registers error texts and storable classes, installs the crash dump
/// and the event log as handlers of internal errors, and makes the calling thread the main thread (XThread)
/// with its own last error number. The destructor ends the workers of the job queues.
///
/// There can be only one at a time: a second one is an internal error. After its destruction another one may
/// be created.
class KORVALE_API WInitCore
{
public:
    WInitCore();
    WInitCore( const WInitCore& ) = delete;
    WInitCore& operator=( const WInitCore& ) = delete;
    ~WInitCore();

    /// True while a WInitCore exists.
    static bool IsInitialised();

private:
    std::unique_ptr<XMainThread> itsMainThread;
    XInternalErrorHandlers itsPreviousHandlers;
};
