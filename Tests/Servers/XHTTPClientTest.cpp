#include "Servers/OddServer.h"

#include "Servers/XHTTPBodyWriter.h"
#include "Servers/XHTTPClient.h"
#include "Servers/XHTTPServer.h"

namespace
{

struct XHTTPClientTest : testing::Test
{
    XHTTPClientTest() : itsServer( "test" ), itsSettings( MakePatientSettings() )
    {
        itsServer.HandleGet( "/hello", []( const XHTTPRequest& ) { return XHTTPResponse::Text( "hello" ); } );
        itsServer.HandlePost(
            "/echo",
            []( const XHTTPRequest& inRequest ) {
                return XHTTPResponse::Text(
                    inRequest.GetHeader( "content-type" ) + ":" + inRequest.GetBody() );
            } );
        itsServer.HandleGet(
            "/stream",
            []( const XHTTPRequest& )
            {
                return XHTTPResponse::Stream(
                    "text/plain",
                    []( XHTTPBodyWriter& ioWriter )
                    {
                        for ( int i = 0; i < 100; ++i )
                            ioWriter.Write( std::string( 10'000, 'x' ) );
                    } );
            } );
        const auto redirect = []( const XHTTPRequest& inRequest )
        {
            auto parameters = inRequest.GetParameters();
            return XHTTPResponse::Redirect( parameters["to"], std::stoi( parameters["status"] ) );
        };
        itsServer.HandleGet( "/go/", redirect );
        itsServer.HandlePost( "/go/", redirect );
        itsServer.HandlePost(
            "/fields",
            []( const XHTTPRequest& inRequest )
            {
                std::string names;
                for ( const XHTTPHeaders::XField& field : inRequest.GetHeaders().GetFields() )
                    names += field.name + "=" + field.value + " ";
                return XHTTPResponse::Text( names + inRequest.GetBody() );
            } );
        itsServer.HandleGet(
            "/secrets",
            []( const XHTTPRequest& inRequest )
            { return XHTTPResponse::Text( inRequest.GetHeader( "Authorization" ) ); } );
        itsServer.Start( 0 );
    }

    std::string GetURL( const std::string& inPath, const char* inHost = "127.0.0.1" ) const
    {
        return std::string( "http://" ) + inHost + ":" + std::to_string( itsServer.GetPort() ) + inPath;
    }
    XHTTPClient::XReply Get( const std::string& inPath ) const
    {
        return XHTTPClient( itsSettings ).Get( GetURL( inPath ) );
    }
    XHTTPClient::XReply Post( const std::string& inPath, const std::string& inBody ) const
    {
        XHTTPHeaders headers;
        headers.Set( "Content-Type", "text/x" );
        return XHTTPClient( itsSettings ).Post( GetURL( inPath ), inBody, headers );
    }
    std::uint32_t ErrorOfGet( const std::string& inURL ) const
    {
        return ErrorOf( [&] { XHTTPClient( itsSettings ).Get( inURL ); } );
    }

    XHTTPServer itsServer;
    XHTTPClient::XSettings itsSettings;
};

} // namespace

TEST_F( XHTTPClientTest, GetsAndPosts )
{
    const XHTTPClient::XReply reply = Get( "/hello?x#fragment" );
    EXPECT_EQ( reply.status, 200 );
    EXPECT_EQ( reply.body, "hello" );
    EXPECT_EQ( reply.headers.Get( "content-length" ), "5" );
    EXPECT_EQ( Post( "/echo", "abc" ).body, "text/x:abc" );
    const std::string large( 3'000'000, 'l' );
    EXPECT_EQ( Post( "/echo", large ).body, "text/x:" + large );
    EXPECT_EQ( Post( "/echo", "" ).body, "text/x:" );
    EXPECT_EQ( Get( "/stream" ).body, std::string( 1'000'000, 'x' ) );
    EXPECT_EQ( Get( "/none" ).status, 404 );
}

TEST_F( XHTTPClientTest, FollowsRedirections )
{
    EXPECT_EQ( Get( "/go/?status=301&to=/hello" ).url, GetURL( "/hello" ) );
    EXPECT_EQ( Get( "/go/a?status=308&to=../hello" ).body, "hello" );
    EXPECT_EQ( Get( "/go/a?status=302&to=?status=307%26to=" + GetURL( "/hello" ) ).body, "hello" );
    EXPECT_EQ( Post( "/go/?status=307&to=/echo", "abc" ).body, "text/x:abc" );
    EXPECT_EQ( Post( "/go/?status=303&to=/hello", "abc" ).body, "hello" );
    EXPECT_EQ( Get( "/go/?status=302&to=/none" ).status, 404 );
    EXPECT_EQ( ErrorOf( [&] { Get( "/go/?status=302&to=ftp://x/" ); } ), 1013u );
    itsSettings.mostRedirects = 1;
    EXPECT_ERROR( 3052, Get( "/go/?status=302&to=/go/?status=302%26to=/hello" ) );
    itsSettings.mostRedirects = 0;
    EXPECT_EQ( Get( "/go/?status=302&to=/hello" ).status, 302 );
}

TEST_F( XHTTPClientTest, TellsNoOtherServerWhatBelongsToOne )
{
    XHTTPHeaders headers;
    headers.Set( "Authorization", "mine" );
    const XHTTPClient client( itsSettings );
    EXPECT_EQ( client.Get( GetURL( "/go/?status=302&to=/secrets" ), headers ).body, "mine" );
    EXPECT_EQ(
        client.Get( GetURL( "/go/?status=302&to=" + GetURL( "/secrets", "localhost" ) ), headers ).body, "" );
}

/// Empty ones, too, but none that the caller cannot know; and no others are made up.
TEST_F( XHTTPClientTest, SendsTheFieldsOfTheCaller )
{
    XHTTPHeaders headers;
    for ( const char* name : { "Content-Length", "Transfer-Encoding", "Expect" } )
        headers.Set( name, "2" );
    headers.Set( "X-Empty", "" );
    const std::string sent = XHTTPClient( itsSettings ).Post( GetURL( "/fields" ), "abc", headers ).body;
    EXPECT_TRUE( sent.ends_with( " abc" ) ) << sent;
    EXPECT_CONTAINS( sent, " X-Empty= " );
    EXPECT_CONTAINS( sent, " Content-Length=3 " );
    for ( const char* name : { "Content-Type", "Transfer-Encoding", "Expect", "=2" } )
        EXPECT_LACKS( sent, name );
}

TEST_F( XHTTPClientTest, TellsWhatWentWrong )
{
    for ( const char* url :
          { "", "hello", "ftp://x/", "file:///etc/passwd", "http:/x", "http://a b/", "http://\xC3\xA4/",
            "http://u:p@x/" } )
        EXPECT_EQ( ErrorOfGet( url ), 1013u ) << url;
    EXPECT_EQ( ErrorOfGet( "http://no-such-host.invalid/" ), 3104u );
    const std::string url = GetURL( "/hello" );
    EXPECT_EQ(
        ErrorOfGet( OddServer( "HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc", true ).GetURL() ), 3100u );
    EXPECT_EQ( ErrorOfGet( OddServer( "", true ).GetURL() ), 3100u );
    EXPECT_EQ( ErrorOfGet( OddServer( "HTTP/1.1 200 OK\r\nX: y\r\n", true ).GetURL() ), 3100u );
    for ( const char* lengths : { "3\r\nContent-Length: 5", "99999999999999999999", "x" } )
    {
        const std::string answer = std::string( "HTTP/1.1 200 OK\r\nContent-Length: " ) + lengths;
        EXPECT_EQ( ErrorOfGet( OddServer( answer + "\r\n\r\nabcde", true ).GetURL() ), 3052u ) << lengths;
    }
    EXPECT_NE( ErrorOfGet( OddServer( "hello\r\n\r\n", true ).GetURL() ), 1013u ); // the URL is all right
    itsSettings.mostBodyBytes = 4;
    EXPECT_EQ( ErrorOfGet( url ), 3052u );
    itsServer.Stop();
    EXPECT_EQ( ErrorOfGet( url ), 3106u );
    EXPECT_CONTAINS( TextOfError( [&] { XHTTPClient( itsSettings ).Get( url ); } ), url );
}
