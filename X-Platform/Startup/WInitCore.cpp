#include "Startup/WInitCore.h"

#include "Core/Streams/XClassRegistry.h"
#include "Core/Times/XTime.h"
#include "Ground/XFail.h"
#include "Jobs/XJobQueue.h"
#include "Process/WCrashDump.h"
#include "Process/WEventLog.h"
#include "Threads/XMainThread.h"

#include <atomic>

namespace
{

std::atomic<bool> sIsCoreInitialised = false;

XString MakeSystemCrashDump()
{
    return XString( WCrashDump::MakeForCurrentThread() );
}

void AddToSystemEventLog( const XString& inMessage )
{
    WEventLog::AddMsgToSystemEventLog(
        inMessage.GetConstCharPtr(), WEventLog::kError, WEventLog::kInternalErrorEvent );
}

} // namespace

WInitCore::WInitCore()
{
    const bool wasInitialised = sIsCoreInitialised.exchange( true );
    XAssert( !wasInitialised );
    itsMainThread = std::make_unique<XMainThread>();
    XTime::Initialise();
    XException::Initialise();
    XClassRegistry::RegisterStandardClasses();
    XInternalErrorHandlers handlers;
    handlers.MakeCrashDump = MakeSystemCrashDump;
    handlers.AddToEventLog = AddToSystemEventLog;
    itsPreviousHandlers = XInternalErrorHandlers::Install( handlers );
}

WInitCore::~WInitCore()
{
    XJobQueue::EndWorkerThreads();
    XInternalErrorHandlers::Install( itsPreviousHandlers );
    itsMainThread.reset();
    sIsCoreInitialised = false;
}

bool WInitCore::IsInitialised()
{
    return sIsCoreInitialised;
}
