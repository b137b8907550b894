#include "WCrashDump.h"

#include "WStackCapture.h"

std::string WCrashDump::MakeForCurrentThread()
{
    ucontext_t context;
    ::getcontext( &context );
    return MakeForContext( &context );
}

std::string WCrashDump::MakeForContext( void* inContext )
{
    WStackCapture capture;
    capture.Take( *static_cast<const ucontext_t*>( inContext ) );
    return capture.Describe();
}
