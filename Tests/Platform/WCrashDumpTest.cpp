#include "Process/WCrashDump.h"

#include "Testing.h"

TEST( WCrashDumpTest, DescribesStackAndRegisters )
{
    for ( int i = 0; i < 2; ++i )
    {
        const auto dump = WCrashDump::MakeForCurrentThread();
        EXPECT_CONTAINS( dump, "Registers:" );
        const auto stack = dump.find( "Call stack" );
        ASSERT_NE( stack, std::string::npos ) << dump;
        // Some systems show the names of modules in lower case.
        EXPECT_NE( dump.find( "orvale", stack ), std::string::npos ) << dump;
        EXPECT_GE( std::count( dump.begin() + static_cast<std::ptrdiff_t>( stack ), dump.end(), '\n' ), 4 );
    }
}
