#include "System/WThreadID.h"

#include <pthread.h>
#include <unistd.h>

constinit thread_local std::uint32_t WThreadID::sCurrent = 0;

std::uint32_t WThreadID::Fetch()
{
    // A forked child has another ID than the thread it was copied from.
    static const int sForgetInChild = pthread_atfork( nullptr, nullptr, [] { sCurrent = 0; } );
    static_cast<void>( sForgetInChild );
    sCurrent = static_cast<std::uint32_t>( gettid() );
    return sCurrent;
}

std::uint32_t WThreadID::GetMain()
{
    return static_cast<std::uint32_t>( getpid() );
}
