#include "JobStress.h"

#include <gtest/gtest.h>

TEST( XJobQueueStressTest, EveryJobIsCompletedExactlyOnce )
{
    JobStress stress;
    stress.Run( 4, 4000, static_cast<unsigned>( GTEST_FLAG_GET( random_seed ) ) );
    const JobStress::Counts& counts = stress.GetCounts();
    EXPECT_GT( counts.completed, 1000 );
    EXPECT_EQ( counts.gone, counts.made );
    EXPECT_EQ( counts.lost, 0 );
    EXPECT_EQ( counts.completedTwice, 0 );
    EXPECT_EQ( counts.strayStops, 0 );
}
