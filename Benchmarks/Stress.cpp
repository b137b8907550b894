// Floods a main thread that takes no messages with progress for ten seconds and a server with strangers, then runs the stress tests of
// threads, messages, jobs, memory and remote calls again and again for the given number of minutes (one by default), each time
// with other random choices. Ends with 1 at the first fault.

#include "Jobs/XJob.h"
#include "Jobs/XJobQueue.h"
#include "Jobs/XProgress.h"
#include "Jobs/XThreadProgressStrategy.h"
#include "ServerFlood.h"
#include "Startup/WInitCore.h"
#include "StressMemory.h"
#include "Threads/XThread.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace
{

constexpr USize kBars = 3;
constexpr std::chrono::seconds kBlocked( 10 );
constexpr std::uint64_t kMaxGrowth = 1024 * 1024; // what the sampling itself and the system's caches may take

/// Has three bars and moves them as fast as it can.
class ReportingJob : public XJob
{
public:
    ReportingJob( XSpeaker& ioSpeaker, std::atomic<std::uint64_t>& ioReports )
        : itsStrategy( &ioSpeaker, XSpeaker::kWhenNextEvent ), itsReports( ioReports )
    {
        SetProgressStrategy( &itsStrategy );
    }

protected:
    void RunJobSelf() override
    {
        constexpr auto kType = XProgress::kProgressWork;
        std::array<XProgress, kBars> bars{
            XProgress( 1000, kType, 0, true ), XProgress( 1000, kType, 0, true ),
            XProgress( 1000, kType, 0, true ) };
        for ( std::uint32_t value = 0;; value = ( value + 1 ) % 1001 )
        {
            for ( XProgress& bar : bars )
                itsStrategy.SetProgress( bar, value );
            itsReports += kBars;
            XThread::TestCancelCurrentThread();
        }
    }

private:
    XThreadProgressStrategy itsStrategy;
    std::atomic<std::uint64_t>& itsReports;
};

/// Returns whether no more was queued than a beginning and a value for each bar, and memory stayed as it was.
bool FloodBlockedMainThread()
{
    XSpeaker speaker;
    std::atomic<std::uint64_t> reports = 0;
    XJobQueue queue;
    const USize jobs = XThread::GetProcessorCount();
    for ( USize job = 0; job < jobs; ++job )
        queue.AttachJob( new ReportingJob( speaker, reports ) );
    queue.Start();
    while ( reports < 1'000'000 )
        std::this_thread::yield();

    const std::uint64_t memory = GetMemoryInUse();
    USize mostQueued = 0;
    const auto end = std::chrono::steady_clock::now() + kBlocked;
    while ( std::chrono::steady_clock::now() < end )
    {
        mostQueued = std::max( mostQueued, XSpeaker::GetDeferredCount() );
        std::this_thread::sleep_for( std::chrono::milliseconds( 1 ) );
    }
    const std::uint64_t growth = std::max( GetMemoryInUse(), memory ) - memory;
    queue.Stop();
    std::printf(
        "main thread blocked: %llu reports on %llu bars, at most %llu messages queued, %llu KiB more "
        "memory\n",
        static_cast<unsigned long long>( reports ), static_cast<unsigned long long>( jobs * kBars ),
        static_cast<unsigned long long>( mostQueued ), static_cast<unsigned long long>( growth / 1024 ) );
    return mostQueued <= 2 * jobs * kBars && growth <= kMaxGrowth;
}

} // namespace

int main( int inArgCount, char** inArgs )
{
    testing::InitGoogleTest( &inArgCount, inArgs );
    const double minutes = inArgCount > 1 ? std::strtod( inArgs[1], nullptr ) : 1.0;
    const WInitCore core;
    if ( !FloodBlockedMainThread() || !FloodServer() )
        return 1;
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::duration<double, std::ratio<60>>( minutes );
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
