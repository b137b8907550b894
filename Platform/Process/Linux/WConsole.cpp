#include "Process/WConsole.h"

#include "Files/Linux/WSizeLimit.h"

#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

std::vector<std::string> WConsole::GetArguments( int inArgCount, char** inArgs )
{
    return { inArgs + ( inArgCount > 0 ? 1 : 0 ), inArgs + inArgCount };
}

/// The first free descriptor is taken, so the lowest comes first. Opened for the other direction, it fails.
void WConsole::ReserveClosedStreams()
{
    for ( const int stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO } )
        if ( fcntl( stream, F_GETFD ) < 0 && open( "/dev/null", stream == 0 ? O_WRONLY : O_RDONLY ) < 0 )
            return; // nothing else can be opened either
}

void WConsole::PrepareOutput()
{
    WSizeLimit::MakeItAnError();
}

void WConsole::RestoreOutput() {}

bool WConsole::IsOutputTerminal()
{
    return isatty( STDOUT_FILENO ) != 0;
}

bool WConsole::IsErrorTerminal()
{
    const char* const kind = std::getenv( "TERM" );
    return isatty( STDERR_FILENO ) != 0 && kind && std::string_view( kind ) != "dumb";
}

WConsole::Size WConsole::GetErrorSize()
{
    winsize size = {};
    if ( ioctl( STDERR_FILENO, TIOCGWINSZ, &size ) != 0 || size.ws_col == 0 || size.ws_row == 0 )
        return { 80, 24 };
    return { size.ws_col, size.ws_row };
}

void WConsole::WriteErrorUnlessBlocked( std::string_view inText )
{
    pollfd error{ STDERR_FILENO, POLLOUT, 0 };
    if ( poll( &error, 1, 0 ) > 0 && write( STDERR_FILENO, inText.data(), inText.size() ) < 0 )
        return; // Nobody reads it.
}
