#include "Process/WCrashDump.h"

#include "Process/Linux/WStackCapture.h"

std::string WCrashDump::MakeForCurrentThread()
{
    WStackCapture capture;
    capture.TakeHere();
    return capture.Describe();
}

std::string WCrashDump::MakeForContext( void* inContext )
{
    WStackCapture capture;
    capture.Take( *static_cast<const ucontext_t*>( inContext ) );
    return capture.Describe();
}
