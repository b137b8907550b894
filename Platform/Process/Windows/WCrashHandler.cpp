#include "Process/WCrashHandler.h"

#include "Process/WCrashDump.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <string>

#include <windows.h>

namespace
{

std::atomic<WCrashHandler::Report> sReport = nullptr;
std::atomic_flag sIsReporting;
std::atomic<bool> sIsInstalled = false;
LPTOP_LEVEL_EXCEPTION_FILTER sPreviousFilter = nullptr;
void ( *sPreviousAbortHandler )( int ) = SIG_DFL;

std::string DescribeException( const EXCEPTION_RECORD& inRecord )
{
    char text[128];
    std::snprintf(
        text, sizeof( text ), "fatal exception 0x%08lX, address %p\r\n", inRecord.ExceptionCode,
        inRecord.ExceptionAddress );
    return text;
}

LONG WINAPI OnUnhandledException( EXCEPTION_POINTERS* inException )
{
    const auto report = sReport.load();
    if ( report && !sIsReporting.test_and_set() )
        report(
            DescribeException( *inException->ExceptionRecord ) +
            WCrashDump::MakeForContext( inException->ContextRecord ) );
    return sPreviousFilter ? sPreviousFilter( inException ) : EXCEPTION_CONTINUE_SEARCH;
}

/// The C library has put the default action back before the call.
void OnAbort( int )
{
    const auto report = sReport.load();
    if ( report && !sIsReporting.test_and_set() )
        report( "fatal abort of the program\r\n" + WCrashDump::MakeForCurrentThread() );
}

} // namespace

void WCrashHandler::Install( Report inReport )
{
    sReport = inReport;
    if ( sIsInstalled.exchange( true ) )
        return;
    sPreviousFilter = ::SetUnhandledExceptionFilter( OnUnhandledException );
    sPreviousAbortHandler = std::signal( SIGABRT, OnAbort );
}

void WCrashHandler::Remove()
{
    if ( sIsInstalled.exchange( false ) )
    {
        ::SetUnhandledExceptionFilter( sPreviousFilter );
        std::signal( SIGABRT, sPreviousAbortHandler );
    }
    sReport = nullptr;
}
