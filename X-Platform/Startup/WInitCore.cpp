#include "Startup/WInitCore.h"

#include "Core/XClassRegistry.h"
#include "Core/XFail.h"
#include "Core/XTime.h"
#include "WCrashDump.h"
#include "WEventLog.h"

#include <atomic>

namespace
{

std::atomic<bool> sIsInitialised = false;

XString MakeCrashDump()
{
    return XString( WCrashDump::MakeForCurrentThread() );
}

void AddToEventLog( const XString& inMessage )
{
    WEventLog::AddMsgToSystemEventLog(
        inMessage.GetConstCharPtr(), WEventLog::kError, WEventLog::kInternalErrorEvent );
}

} // namespace

WInitCore::WInitCore()
{
    const bool wasInitialised = sIsInitialised.exchange( true );
    XAssert( !wasInitialised );
    itsPreviousLastErrorSlot = XException::SetLastErrorSlot( &itsLastError );
    XTime::Initialise();
    XException::Initialise();
    XClassRegistry::RegisterStandardClasses();
    XInternalErrorHandlers handlers;
    handlers.MakeCrashDump = MakeCrashDump;
    handlers.AddToEventLog = AddToEventLog;
    itsPreviousHandlers = XInternalErrorHandlers::Install( handlers );
}

WInitCore::~WInitCore()
{
    XInternalErrorHandlers::Install( itsPreviousHandlers );
    XException::SetLastErrorSlot( itsPreviousLastErrorSlot );
    sIsInitialised = false;
}

bool WInitCore::IsInitialised()
{
    return sIsInitialised;
}
