#include "Process/WDebugger.h"

#include <csignal>
#include <cstdio>
#include <fstream>
#include <string>

bool WDebugger::IsPresent()
{
    std::ifstream status( "/proc/self/status" );
    for ( std::string line; std::getline( status, line ); )
    {
        constexpr std::string_view kTracer = "TracerPid:";
        if ( line.starts_with( kTracer ) )
            return line.find_first_of( "123456789", kTracer.size() ) != std::string::npos;
    }
    return false;
}

void WDebugger::Break()
{
    std::raise( SIGTRAP );
}

void WDebugger::Output( std::string_view inText )
{
    std::fwrite( inText.data(), 1, inText.size(), stderr );
}
