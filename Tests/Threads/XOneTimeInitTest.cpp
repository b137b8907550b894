#include "Threads/XOneTimeInit.h"

#include "TestThread.h"

TEST( XOneTimeInitTest, TriesAgainAfterFailuresAndSucceedsOnce )
{
    std::atomic<std::uint32_t> state = 0;
    std::atomic<std::uint32_t> counter = 0;
    std::atomic<WSemaphore*> semaphore = nullptr;
    int tries = 0; // by one thread at a time
    const auto use = [&]
    {
        for ( ;; )
        {
            try
            {
                if ( XLockOneTimeInit( state, counter, semaphore ) == kOneTimeInitDone )
                    break;
                XOneTimeInitGuard guard( state, counter, semaphore );
                std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
                if ( ++tries < 20 )
                    throw std::runtime_error( "not yet" );
                guard.Succeeded();
            }
            catch ( const std::runtime_error& )
            {
            }
        }
        EXPECT_EQ( 20, tries );
    };
    RunTogether( use, use, use, use );
    delete semaphore.load();
}
