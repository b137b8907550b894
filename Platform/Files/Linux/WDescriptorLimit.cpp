#include "Files/Linux/WDescriptorLimit.h"

#include <cerrno>

#include <sys/resource.h>

std::uint64_t WDescriptorLimit::Get()
{
    rlimit limit = {};
    return ::getrlimit( RLIMIT_NOFILE, &limit ) == 0 ? limit.rlim_cur : 0;
}

bool WDescriptorLimit::RaiseIfReached()
{
    if ( errno != EMFILE )
        return false;
    rlimit limit = {};
    const bool canRaise = ::getrlimit( RLIMIT_NOFILE, &limit ) == 0 && limit.rlim_cur < limit.rlim_max;
    limit.rlim_cur = limit.rlim_max;
    if ( canRaise && ::setrlimit( RLIMIT_NOFILE, &limit ) == 0 )
        return true;
    errno = EMFILE;
    return false;
}
