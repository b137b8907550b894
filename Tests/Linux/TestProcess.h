#pragma once

#include "Testing.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// Runs a function in a child of this process, whose limits and memory are its own, and returns whether it got to its end
/// without a failed expectation.
template<class TBody>
bool PassesInChild( TBody inBody )
{
    std::fflush( nullptr );
    const pid_t child = ::fork();
    if ( child == 0 )
    {
        // What is thrown must not get to gtest, which would go on with the other tests here.
        [&]() noexcept { inBody(); }();
        std::fflush( nullptr );
        ::_exit( testing::Test::HasFailure() ? 1 : 0 );
    }
    int status = 0;
    ::waitpid( child, &status, 0 );
    return WIFEXITED( status ) && WEXITSTATUS( status ) == 0;
}

/// A limit of the process for as long as the object lives.
struct ProcessLimit
{
    ProcessLimit( __rlimit_resource inResource, rlim_t inMost ) : itsResource( inResource )
    {
        ::getrlimit( itsResource, &itsBefore );
        const rlimit limit{ inMost, itsBefore.rlim_max };
        ::setrlimit( itsResource, &limit );
    }
    ~ProcessLimit() { ::setrlimit( itsResource, &itsBefore ); }

private:
    const __rlimit_resource itsResource;
    rlimit itsBefore{};
};

/// The lowest descriptor that is free.
inline rlim_t GetNextDescriptor()
{
    const int next = ::dup( 0 );
    ::close( next );
    return static_cast<rlim_t>( next );
}
