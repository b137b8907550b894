#include "Program.h"
#include "Startup/WInitApp.h"
#include "Startup/WInitCore.h"
#include "WConsole.h"

#include <iostream>

int main( int inArgCount, char** inArgs )
{
    const WInitCore core;
    const WInitApp application;
    WConsole::PrepareOutput();
    Terminal terminal{ std::cout, std::cerr, WConsole::IsErrorTerminal() };
    return RunProgram( WConsole::GetArguments( inArgCount, inArgs ), terminal );
}
