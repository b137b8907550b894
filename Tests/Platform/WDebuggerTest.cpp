#include "Process/WDebugger.h"

#include "Testing.h"

TEST( WDebuggerTest, IsNotPresentInATestRun )
{
    EXPECT_FALSE( WDebugger::IsPresent() );
}
