#include "Core/Errors/XInternalErrorHandlers.h"

#include <mutex>

namespace
{

std::mutex sHandlersMutex;
XInternalErrorHandlers sHandlers; // guarded by sHandlersMutex

} // namespace

XInternalErrorHandlers XInternalErrorHandlers::Install( const XInternalErrorHandlers& inHandlers )
{
    const std::lock_guard lock( sHandlersMutex );
    const auto previous = sHandlers;
    sHandlers = inHandlers;
    return previous;
}

XInternalErrorHandlers XInternalErrorHandlers::Get()
{
    const std::lock_guard lock( sHandlersMutex );
    return sHandlers;
}
