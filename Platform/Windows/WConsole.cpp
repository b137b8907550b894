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
    const HANDLE error = GetStdHandle( STD_ERROR_HANDLE );
    DWORD mode = 0;
    if ( GetConsoleMode( error, &mode ) )
        SetConsoleMode( error, mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING );
}

bool WConsole::IsOutputTerminal()
{
    return _isatty( _fileno( stdout ) ) != 0;
}

bool WConsole::IsErrorTerminal()
{
    DWORD mode = 0;
    return GetConsoleMode( GetStdHandle( STD_ERROR_HANDLE ), &mode ) &&
        ( mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING ) != 0;
}

WConsole::Size WConsole::GetErrorSize()
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if ( !GetConsoleScreenBufferInfo( GetStdHandle( STD_ERROR_HANDLE ), &info ) )
        return { 80, 24 };
    const auto& window = info.srWindow;
    return {
        static_cast<std::uint32_t>( window.Right - window.Left + 1 ),
        static_cast<std::uint32_t>( window.Bottom - window.Top + 1 ) };
}

void WConsole::WriteErrorUnlessBlocked( std::string_view inText )
{
    DWORD written = 0;
    WriteFile(
        GetStdHandle( STD_ERROR_HANDLE ), inText.data(), static_cast<DWORD>( inText.size() ), &written,
        nullptr );
}
