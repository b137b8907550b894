#include "Process/WCrashDump.h"

#include "Process/WCrashHandler.h"
#include "Process/WDebugger.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace
{

void PrintReport( std::string_view inText )
{
    std::fprintf( stderr, "REPORT %.*s", static_cast<int>( inText.size() ), inText.data() );
    std::fflush( stderr );
}

void CrashWithReport()
{
    WCrashHandler::Install( PrintReport );
    std::abort();
}

void CrashAfterRemoval()
{
    WCrashHandler::Install( PrintReport );
    WCrashHandler::Remove();
    std::fprintf( stderr, "removed\n" );
    std::abort();
}

} // namespace

TEST( WCrashDumpTest, DescribesStackAndRegisters )
{
    for ( int i = 0; i < 2; ++i )
    {
        const auto dump = WCrashDump::MakeForCurrentThread();
        EXPECT_NE( dump.find( "Registers:" ), std::string::npos );
        const auto stack = dump.find( "Call stack" );
        ASSERT_NE( stack, std::string::npos ) << dump;
        // Some systems show the names of modules in lower case.
        EXPECT_NE( dump.find( "orvale", stack ), std::string::npos ) << dump;
        EXPECT_GE( std::count( dump.begin() + static_cast<std::ptrdiff_t>( stack ), dump.end(), '\n' ), 4 );
    }
}

TEST( WCrashHandlerDeathTest, ReportsAndLetsTheSystemEndTheProcess )
{
    EXPECT_DEATH( CrashWithReport(), "REPORT fatal " );
    EXPECT_DEATH( CrashWithReport(), "Call stack" );
    EXPECT_DEATH( CrashAfterRemoval(), "removed\n$" );
}

TEST( WDebuggerTest, IsNotPresentInATestRun )
{
    EXPECT_FALSE( WDebugger::IsPresent() );
}
