#include "WConsole.h"

#include <unistd.h>

std::vector<std::string> WConsole::GetArguments( int inArgCount, char** inArgs )
{
    return { inArgs + ( inArgCount > 0 ? 1 : 0 ), inArgs + inArgCount };
}

void WConsole::PrepareOutput() {}

bool WConsole::IsErrorTerminal()
{
    return isatty( STDERR_FILENO ) != 0;
}
