#include "Process/WDebugger.h"

#include <gtest/gtest.h>

TEST( WDebuggerTest, IsNotPresentInATestRun )
{
    EXPECT_FALSE( WDebugger::IsPresent() );
}
