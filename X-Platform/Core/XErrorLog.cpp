#include "Core/XErrorLog.h"

#include "Core/XSwallowErrors.h"

#include <mutex>

namespace
{

std::mutex sMutex;
XErrorLog sLog; // guarded by sMutex

XErrorLog GetLog()
{
    const std::lock_guard lock( sMutex );
    return sLog;
}

void AddTo( const XErrorLog& inLog )
{
    try
    {
        throw;
    }
    catch ( const XException& exception )
    {
        if ( inLog.AddException && exception.ShouldLogError() )
            inLog.AddException( exception );
    }
    catch ( const std::exception& exception )
    {
        if ( inLog.AddOtherException )
            inLog.AddOtherException( exception );
    }
}

} // namespace

XErrorLog XErrorLog::Install( const XErrorLog& inLog )
{
    const std::lock_guard lock( sMutex );
    const auto previous = sLog;
    sLog = inLog;
    return previous;
}

void XErrorLog::AddCurrentException() noexcept
{
    XSwallowErrors( [] { AddTo( GetLog() ); } );
}
