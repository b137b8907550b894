#include "System/WComputer.h"

#include <sys/utsname.h>
#include <unistd.h>

std::string WComputer::GetSystemDescription()
{
    utsname names{};
    if ( uname( &names ) != 0 )
        return {};
    return std::string( names.sysname ) + " " + names.release + " " + names.machine;
}

std::uint32_t WComputer::GetProcessID()
{
    return static_cast<std::uint32_t>( getpid() );
}
