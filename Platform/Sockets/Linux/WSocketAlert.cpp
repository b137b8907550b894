#include "Sockets/WSocketAlert.h"

#include "System/Linux/WErrno.h"

#include <sys/eventfd.h>
#include <unistd.h>

WSocketAlert& WSocketAlert::GetCurrent()
{
    thread_local WSocketAlert sCurrent;
    return sCurrent;
}

WSocketAlert::WSocketAlert()
{
    const int descriptor = eventfd( 0, EFD_NONBLOCK | EFD_CLOEXEC );
    if ( descriptor < 0 )
        WThrowErrno();
    itsHandle = static_cast<std::uintptr_t>( descriptor );
}

WSocketAlert::~WSocketAlert()
{
    close( static_cast<int>( itsHandle ) );
}

void WSocketAlert::Alert()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write( static_cast<int>( itsHandle ), &one, sizeof( one ) );
}

void WSocketAlert::Clear()
{
    std::uint64_t count = 0;
    while ( read( static_cast<int>( itsHandle ), &count, sizeof( count ) ) < 0 && errno == EINTR )
        ;
}
