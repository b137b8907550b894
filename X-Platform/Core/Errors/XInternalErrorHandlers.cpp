#include "Core/Errors/XInternalErrorHandlers.h"

#include <mutex>

namespace
{

std::mutex sMutex;
XInternalErrorHandlers sHandlers; // guarded by sMutex

} // namespace

XInternalErrorHandlers XInternalErrorHandlers::Install( const XInternalErrorHandlers& inHandlers )
{
    const std::lock_guard lock( sMutex );
    const auto previous = sHandlers;
    sHandlers = inHandlers;
    return previous;
}

XInternalErrorHandlers XInternalErrorHandlers::Get()
{
    const std::lock_guard lock( sMutex );
    return sHandlers;
}
