#include "System/WProcessors.h"

#include "Testing.h"

TEST( WProcessorsTest, EveryProcessorIsInOneCore )
{
    XVector<std::uint32_t> processors;
    for ( const auto& core : WProcessors::GetCores() )
    {
        EXPECT_TRUE( std::is_sorted( core.begin(), core.end() ) );
        processors.insert( processors.end(), core.begin(), core.end() );
    }
    std::sort( processors.begin(), processors.end() );
    ASSERT_EQ( WProcessors::GetCount(), processors.size() );
    for ( std::uint32_t i = 0; i < processors.size(); ++i )
        EXPECT_EQ( i, processors[i] );
}

TEST( WProcessorsTest, TimesAndLoadsFollowTheWorkDone )
{
    WProcessors::GetPercentLoads();
    std::int64_t kernel = 0;
    std::int64_t user = 0;
    WProcessors::GetThreadCPUTime( kernel, user );
    const std::int64_t before = kernel + user;
    do
        WProcessors::GetThreadCPUTime( kernel, user );
    while ( kernel + user < before + 50'000 );
    std::int64_t processKernel = 0;
    std::int64_t processUser = 0;
    WProcessors::GetProcessCPUTime( processKernel, processUser );
    EXPECT_GE( processKernel + processUser, 50'000 );
    const auto loads = WProcessors::GetPercentLoads();
    EXPECT_EQ( WProcessors::GetCount(), loads.size() );
    EXPECT_GT( *std::max_element( loads.begin(), loads.end() ), 0 );
}
