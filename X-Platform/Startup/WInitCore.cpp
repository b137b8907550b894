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
    itsMainThread = std::make_unique<XMainThread>();
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
    XJobQueue::EndWorkerThreads();
    XInternalErrorHandlers::Install( itsPreviousHandlers );
    itsMainThread.reset();
    sIsInitialised = false;
}

bool WInitCore::IsInitialised()
{
    return sIsInitialised;
}
