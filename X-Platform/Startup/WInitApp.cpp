#include "Startup/WInitApp.h"

#include "Core/Errors/XException.h"
#include "Core/Errors/XInternalErrorHandlers.h"
#include "Ground/XFail.h"
#include "Process/WCrashDump.h"
#include "Process/WCrashHandler.h"
#include "Startup/WInitCore.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

std::atomic<bool> sIsAppInitialised = false;

void ReportCrash( std::string_view inText )
{
    std::fwrite( inText.data(), 1, inText.size(), stderr );
    std::fflush( stderr );
    if ( const auto addToEventLog = XInternalErrorHandlers::Get().AddToEventLog )
        addToEventLog( XString( std::string( inText ) ) );
}

std::string DescribeCurrentException()
{
    if ( !std::current_exception() )
        return "the program was terminated";
    try
    {
        throw;
    }
    catch ( const XException& exception )
    {
        return exception.GetErrorMessage().GetConstCharPtr();
    }
    catch ( const std::exception& exception )
    {
        return exception.what();
    }
    catch ( ... )
    {
        return "an exception of an unknown type was not caught";
    }
}

[[noreturn]] void OnTerminate()
{
    WCrashHandler::Remove();
    ReportCrash( DescribeCurrentException() + "\n" + WCrashDump::MakeForCurrentThread() );
    std::abort();
}

} // namespace

WInitApp::WInitApp()
{
    XAssert( WInitCore::IsInitialised() );
    const bool wasInitialised = sIsAppInitialised.exchange( true );
    XAssert( !wasInitialised );
    WCrashHandler::Install( ReportCrash );
    itsPreviousTerminateHandler = std::set_terminate( OnTerminate );
}

WInitApp::~WInitApp()
{
    std::set_terminate( itsPreviousTerminateHandler );
    WCrashHandler::Remove();
    sIsAppInitialised = false;
}
