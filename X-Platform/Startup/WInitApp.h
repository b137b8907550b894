#pragma once

#include "Ground/XTypes.h"

#include <exception>

/// What an application adds to WInitCore: crashes and exceptions that nobody catches are described, with a
/// crash dump, in the system's event log and on standard error before the process ends.
///
/// Constructed after WInitCore, on the main thread, and destroyed before it. One at a time; anything else is
/// an internal error.
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
