#pragma once

#include "Ground/XTypes.h"

#include <exception>

/// Start-up of an application, in addition to WInitCore: crashes and uncaught exceptions are written, with a
/// crash dump, to the system's event log and to standard error before the process ends.
///
/// Construct it after WInitCore, on the main thread, and destroy it before WInitCore. There can be only one.
/// Anything else is an internal error.
class KORVALE_API WInitApp
{
public:
    WInitApp();
    WInitApp( const WInitApp& ) = delete;
    WInitApp& operator=( const WInitApp& ) = delete;
    ~WInitApp();

private:
    std::terminate_handler itsPreviousTerminateHandler;
};
