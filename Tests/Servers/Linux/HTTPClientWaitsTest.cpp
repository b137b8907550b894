#include "Servers/OddServer.h"

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
