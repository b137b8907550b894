#include "Core/Errors/XInternalErrorHandlers.h"

#include "Ground/XFail.h"
#include "Testing.h"

#include <filesystem>
#include <fstream>
#include <regex>

namespace
{

std::string sEventLog;
std::string sSessionLog;

/// Handlers that keep what they are given, for as long as the object lives.
struct RecordingHandlers
{
    RecordingHandlers()
    {
        sEventLog.clear();
        sSessionLog.clear();
        itsPrevious = XInternalErrorHandlers::Install( { MakeDump, AddToEventLog, AddToSessionLog } );
    }
    ~RecordingHandlers() { XInternalErrorHandlers::Install( itsPrevious ); }

    static XString MakeDump() { return "the dump"; }
    static void AddToEventLog( const XString& inMessage ) { sEventLog = inMessage.GetConstCharPtr(); }
    static void AddToSessionLog( const XInternalException& inException )
    {
        sSessionLog = inException.GetRawErrorMessage().GetConstCharPtr();
    }

private:
    XInternalErrorHandlers itsPrevious;
};

/// What an XAssert that fails here says.
XInternalException FailAssertion( const char* inSourceFile )
{
    try
    {
        XAssertionFailed( "count > 0", inSourceFile, 42 );
    }
    catch ( const XInternalException& exception )
    {
        return exception;
    }
}

} // namespace

TEST( XInternalErrorHandlersTest, LeavesTracesAndThrows )
{
    const RecordingHandlers handlers;
    const auto exception = FailAssertion( "/home/dev/X-Platform/Core/XString.cpp" );
    const std::string message =
        "an internal error occurred: count > 0 in \"..\\X-Platform\\XString.cpp\" at line 42 (1006)";
    EXPECT_EQ( MessageOf( exception ), message );
    EXPECT_EQ( exception.GetErrorNumber(), 1006u );
    EXPECT_TRUE( exception.IsCrashError() );
    XString dump;
    exception.GetCrashDump( dump );
    EXPECT_STREQ( dump.GetConstCharPtr(), "the dump" );
    EXPECT_EQ( sEventLog, "The command could not be completed because " + message + "\r\n\r\nthe dump" );
    EXPECT_EQ( sSessionLog, message );
    EXPECT_EQ( XException::GetLastError(), 1006u );
}

TEST( XInternalErrorHandlersTest, ReducesEveryPathToTheClass )
{
    const RecordingHandlers handlers;
    for ( const char* path :
          { "D:\\build\\X-Platform\\XTime.cpp", "XTime.cpp", "a/b\\XTime.cpp", "a.b/XTime.h", "XTime" } )
        EXPECT_STREQ( FailAssertion( path ).GetFile().GetConstCharPtr(), "..\\X-Platform\\XTime.cpp" )
            << path;
}

/// Where the sources are at hand.
TEST( XInternalErrorHandlersTest, EverySourceThatAssertsNamesAClass )
{
    const std::filesystem::path root = KORVALE_SOURCE_DIR "/X-Platform";
    if ( !std::filesystem::exists( root ) )
        GTEST_SKIP();
    const auto previous = XInternalErrorHandlers::Install( {} );
    const std::regex declaration( "(?:class|struct) (?:KORVALE_API )?(?:\\w+::)*(\\w+)( final)?( :.*)?" );
    const std::regex assertion( " +XAssert\\(.*" );
    std::set<std::string> classes;
    std::set<std::filesystem::path> asserting;
    for ( const auto& entry : std::filesystem::recursive_directory_iterator( root ) )
    {
        std::ifstream file( entry.path() );
        std::smatch match;
        for ( std::string line; std::getline( file, line ); )
            if ( std::regex_match( line, match, declaration ) )
                classes.insert( match[1] );
            else if ( std::regex_match( line, assertion ) )
                asserting.insert( entry.path() );
    }
    EXPECT_GT( asserting.size(), 40u );
    for ( const auto& path : asserting )
    {
        const std::string file = FailAssertion( path.string().c_str() ).GetFile().GetConstCharPtr();
        const std::string name =
            std::filesystem::path( file.substr( file.rfind( '\\' ) + 1 ) ).stem().string();
        EXPECT_TRUE( classes.contains( name ) ) << path << " names " << file;
    }
    XInternalErrorHandlers::Install( previous );
}

TEST( XInternalErrorHandlersTest, AssertionTextIsTheExpression )
{
    const RecordingHandlers handlers;
    const int count = 0;
    try
    {
        XAssert( count > 0 && sEventLog.empty() );
        FAIL();
    }
    catch ( const XInternalException& exception )
    {
        EXPECT_STREQ( exception.GetExpression().GetConstCharPtr(), "count > 0 && sEventLog.empty()" );
        EXPECT_STREQ(
            exception.GetFile().GetConstCharPtr(), "..\\X-Platform\\XInternalErrorHandlersTest.cpp" );
    }
    EXPECT_NO_THROW( XAssert( count == 0 ) );
}

TEST( XInternalErrorHandlersTest, ErrorsInHandlersDoNotReplaceTheFirst )
{
    XInternalErrorHandlers handlers;
    handlers.MakeCrashDump = []() -> XString { XThrow( 1012 ); };
    handlers.AddToEventLog = []( const XString& ) { XAssertionFailed( "in the handler", "XLog.cpp", 1 ); };
    const auto previous = XInternalErrorHandlers::Install( handlers );
    const auto exception = FailAssertion( "XString.cpp" );
    XInternalErrorHandlers::Install( previous );
    EXPECT_STREQ( exception.GetExpression().GetConstCharPtr(), "count > 0" );
    XString dump = "unchanged";
    exception.GetCrashDump( dump );
    EXPECT_TRUE( dump.IsEmpty() );
    EXPECT_EQ( XException::GetLastError(), 1006u );
}

TEST( XInternalErrorHandlersTest, WorksWithoutHandlers )
{
    const auto previous = XInternalErrorHandlers::Install( {} );
    EXPECT_ERROR( 1006, KorvaleInternalError( "a", "b", 3 ) );
    XInternalErrorHandlers::Install( previous );
}
