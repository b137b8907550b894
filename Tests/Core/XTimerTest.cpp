#include "Core/Times/XTimer.h"

#include "Testing.h"

TEST( XTimerTest, CountsDownToItsLimit )
{
    XTimer timer( 20 );
    std::uint32_t last = 20;
    while ( const std::uint32_t left = timer.GetRemainingMS() )
    {
        ASSERT_LE( left, last );
        last = left;
    }
    EXPECT_GE( timer.GetElapsedUS(), 20000 );
    EXPECT_GE( timer.GetElapsedMS(), 20 );
    EXPECT_TRUE( timer.HasExpired() );
    timer.SetLimitMS( kNoTimeout - 1 );
    EXPECT_FALSE( timer.HasExpired() );
    EXPECT_LT( timer.GetRemainingMS(), kNoTimeout ) << "a limit never reads as none";
    EXPECT_EQ( XTimer().GetRemainingMS(), kNoTimeout );
    EXPECT_FALSE( XTimer().RestartIfExpired() );
    EXPECT_TRUE( XTimer( 0 ).RestartIfExpired() );
}
