// Runs the stress tests of threads, messages and jobs again and again for the given number of minutes (one by default),
// each time with other random choices. Ends with 1 at the first fault.

#include "Startup/WInitCore.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

int main( int inArgCount, char** inArgs )
{
    testing::InitGoogleTest( &inArgCount, inArgs );
    const double minutes = inArgCount > 1 ? std::strtod( inArgs[1], nullptr ) : 1.0;
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::duration<double, std::ratio<60>>( minutes );
    const WInitCore core;
    int rounds = 0;
    for ( ; std::chrono::steady_clock::now() < end; ++rounds )
    {
        GTEST_FLAG_SET( random_seed, rounds );
        if ( RUN_ALL_TESTS() != 0 )
            return 1;
    }
    std::printf( "%d rounds without a fault\n", rounds );
    return 0;
}
