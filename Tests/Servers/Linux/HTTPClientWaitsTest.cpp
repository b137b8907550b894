#include "Servers/OddServer.h"

#include "Core/Times/XTimer.h"
#include "Jobs/XProgress.h"
#include "Jobs/XProgressStrategyChanger.h"
#include "Jobs/XThreadProgressStrategy.h"

#include <dlfcn.h>
#include <netdb.h>

namespace
{

WEvent& GetEndOfLookUp()
{
    static WEvent sEvent;
    return sEvent;
}

} // namespace

/// In place of the system's: one name takes as long to be found as the test wants.
extern "C" [[gnu::visibility( "default" )]] int
getaddrinfo( const char* inName, const char* inService, const addrinfo* inHints, addrinfo** outFound )
{
    if ( inName && std::string( inName ) == "slow.invalid" )
    {
        GetEndOfLookUp().Wait( kPatience );
        return EAI_AGAIN;
    }
    static const auto sSystem =
        reinterpret_cast<decltype( &getaddrinfo )>( dlsym( RTLD_NEXT, "getaddrinfo" ) );
    return sSystem( inName, inService, inHints, outFound );
}

/// (The emulator that runs the tests of the other system hangs when a request is given up.)
TEST( HTTPClientWaitsTest, KeepsItsTimes )
{
    XHTTPClient::XSettings settings = MakePatientSettings();
    const auto errorOfGet = [&]( const std::string& inURL )
    { return ErrorOf( [&] { XHTTPClient( settings ).Get( inURL ); } ); };
    settings.totalMS = 200;
    EXPECT_EQ( errorOfGet( OddServer( "" ).GetURL() ), 3105u );
    EXPECT_EQ(
        errorOfGet( OddServer( "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc" ).GetURL() ), 3105u );
    settings.totalMS = kPatience;
    settings.stallMS = 200;
    EXPECT_EQ( errorOfGet( OddServer( "" ).GetURL() ), 3105u );
    EXPECT_EQ(
        errorOfGet( OddServer( "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc" ).GetURL() ), 3105u );
    settings.totalMS = 0;
    EXPECT_EQ( errorOfGet( OddServer( "" ).GetURL() ), 3105u );
}

TEST( HTTPClientWaitsTest, EndsAtOnceWhenItsThreadIsToStop )
{
    const OddServer server( "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc" );
    TestThread thread(
        [&]() -> std::int32_t
        {
            XHTTPClient( MakePatientSettings() ).Get( server.GetURL() );
            return 1;
        } );
    thread.StartThread();
    XThread::SleepCurrentThread( 100 ); // let it come to wait: sooner would be a weaker test
    thread.StopThread( 7 );
    EXPECT_EQ( thread.GetThreadReturnCode(), 7 );
}

TEST( HTTPClientWaitsTest, EndsAtOnceWhenTheUserAborts )
{
    struct : XThreadProgressStrategy
    {
        using XThreadProgressStrategy::XThreadProgressStrategy;
        void Yield() override { XProgress::Abort(); }
    } strategy{ nullptr, XSpeaker::kWhenImmediate };
    const OddServer server( "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc" );
    const XProgressStrategyChanger changer( &strategy );
    EXPECT_EQ( ErrorOf( [&] { XHTTPClient( MakePatientSettings() ).Get( server.GetURL() ); } ), 1001u );
}

/// The name of the host is still being looked up when the request is given up.
TEST( HTTPClientWaitsTest, DoesNotWaitForNames )
{
    const XTimer patience( kPatience );
    XHTTPClient::XSettings settings = MakePatientSettings();
    settings.totalMS = 100;
    EXPECT_EQ( ErrorOf( [&] { XHTTPClient( settings ).Get( "http://slow.invalid/" ); } ), 3105u );
    EXPECT_FALSE( patience.HasExpired() );
    GetEndOfLookUp().Set();
}
