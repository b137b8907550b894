#include "Process/WCrashHandler.h"

#include "Testing.h"

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

TEST( WCrashHandlerDeathTest, ReportsAndLetsTheSystemEndTheProcess )
{
    EXPECT_DEATH( CrashWithReport(), "REPORT fatal " );
    EXPECT_DEATH( CrashWithReport(), "Call stack" );
    EXPECT_DEATH( CrashAfterRemoval(), "removed\n$" );
}
