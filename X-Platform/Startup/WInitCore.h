#pragma once

#include "Core/Errors/XInternalErrorHandlers.h"

#include <memory>

class XMainThread;

/// Prepares the library for a process: a program constructs one on its main thread before it uses anything
/// else, and destroys it last. It starts the clock, registers error texts and storable classes, installs the
/// crash dump and the event log as the places where internal errors leave their traces, and makes the calling
/// thread the main thread (XThread), with its own last error number. Its end ends the workers of the job queues.
///
/// One at a time: a second one is an internal error. After it has gone, another may be made.
class KORVALE_API WInitCore
{
public:
    WInitCore();
    WInitCore( const WInitCore& ) = delete;
    WInitCore& operator=( const WInitCore& ) = delete;
    ~WInitCore();

    /// True while there is one.
    static bool IsInitialised();

private:
    std::unique_ptr<XMainThread> itsMainThread;
    XInternalErrorHandlers itsPreviousHandlers;
};
