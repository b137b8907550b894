#include "WConsole.h"

#include "WCodePage.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h> // needs the header above

std::vector<std::string> WConsole::GetArguments( int, char** )
{
    // The arguments of main are ANSI; the command line knows every character.
    int count = 0;
    auto** const wide = CommandLineToArgvW( GetCommandLineW(), &count );
    std::vector<std::string> arguments;
    for ( int i = 1; i < count; ++i )
        arguments.push_back( WCodePage::WideToUTF8( wide[i] ) );
    LocalFree( wide );
    return arguments;
}

void WConsole::PrepareOutput()
{
    _setmode( _fileno( stdout ), _O_BINARY );
    _setmode( _fileno( stderr ), _O_BINARY );
    SetConsoleOutputCP( CP_UTF8 );
}

bool WConsole::IsErrorTerminal()
{
    return _isatty( _fileno( stderr ) ) != 0;
}
