#include "Servers/OddServer.h"

namespace
{

/// The system may keep the connection of a request that is given up until nothing has come for this long; the server waits
/// for its end.
XHTTPClient::XSettings MakeSettings()
{
    XHTTPClient::XSettings settings = MakePatientSettings();
    settings.stallMS = 3000;
    return settings;
}

} // namespace

TEST( XHTTPClientWaitsTest, KeepsItsTimes )
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

TEST( XHTTPClientWaitsTest, EndsAtOnceWhenItsThreadIsToStop )
{
    const OddServer server( "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc" );
    TestThread thread(
        [&]() -> std::int32_t
        {
            XHTTPClient( MakeSettings() ).Get( server.GetURL() );
            return 1;
        } );
    thread.StartThread();
    XThread::SleepCurrentThread( 100 ); // let it come to wait: sooner would be a weaker test
    thread.StopThread( 7 );
    EXPECT_EQ( thread.GetThreadReturnCode(), 7 );
}

TEST( XHTTPClientWaitsTest, EndsAtOnceWhenTheUserAborts )
{
    AbortingStrategy strategy( nullptr, XSpeaker::kWhenImmediate );
    const OddServer server( "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc" );
    const XProgressStrategyChanger changer( &strategy );
    EXPECT_ERROR( 1001, XHTTPClient( MakeSettings() ).Get( server.GetURL() ) );
}
