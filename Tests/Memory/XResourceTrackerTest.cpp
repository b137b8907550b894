#include "Memory/XResourceTracker.h"

#include "Testing.h"

TEST( XResourceTrackerTest, CountsByKind )
{
    XResourceTracker::RsrcAllocated( "test things", 10 );
    XResourceTracker::RsrcAllocated( "test things", 5 );
    XResourceTracker::RsrcSizeChanged( "test things", 5, 2 );
    XResourceTracker::RsrcDeallocated( "test things", 10 );
    EXPECT_EQ( 1u, XResourceTracker::GetCount( "test things" ).number );
    EXPECT_EQ( 2u, XResourceTracker::GetCount( "test things" ).bytes );
    EXPECT_EQ( 0u, XResourceTracker::GetCount( "nothing" ).number );
}
