#include "Core/Errors/XErrorLog.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Core/Errors/Internal/XTypeName.h"
#include "Core/Errors/XInternalErrorHandlers.h"

#include <mutex>

namespace
{

std::mutex sLogMutex;
XErrorLog sLog; // guarded by sLogMutex

XErrorLog GetLog()
{
    const std::lock_guard lock( sLogMutex );
    return sLog;
}

void AddOther( const XErrorLog& inLog, const std::string& inTypeAndText, const XString& inOrigin )
{
    if ( inLog.AddOtherException )
        return inLog.AddOtherException( inTypeAndText, inOrigin );
    if ( const auto addToEventLog = XInternalErrorHandlers::Get().AddToEventLog )
        addToEventLog( inOrigin.IsEmpty() ? XString( inTypeAndText ) : inOrigin + ": " + inTypeAndText );
}

void AddTo( const XErrorLog& inLog, const XString& inOrigin )
{
    try
    {
        throw;
    }
    catch ( const XException& exception )
    {
        if ( inLog.AddException && exception.ShouldLogError() )
            inLog.AddException( exception, inOrigin );
    }
    catch ( const std::exception& exception )
    {
        AddOther( inLog, XGetTypeName( typeid( exception ) ) + ": " + exception.what(), inOrigin );
    }
    catch ( ... )
    {
        AddOther( inLog, "exception of type " + XGetCurrentExceptionTypeName(), inOrigin );
    }
}

} // namespace

XErrorLog XErrorLog::Install( const XErrorLog& inLog )
{
    const std::lock_guard lock( sLogMutex );
    const auto previous = sLog;
    sLog = inLog;
    return previous;
}

void XErrorLog::AddCurrentException( const char* inOrigin ) noexcept
{
    XSwallowErrors( [&] { AddTo( GetLog(), inOrigin ); } );
}
