#include "Process/WDebugger.h"

#include <string>

#include <windows.h>

bool WDebugger::IsPresent()
{
    return ::IsDebuggerPresent() != 0;
}

void WDebugger::Break()
{
    ::DebugBreak();
}

void WDebugger::Output( std::string_view inText )
{
    ::OutputDebugStringA( std::string( inText ).c_str() );
}
