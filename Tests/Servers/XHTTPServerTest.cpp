#include "Network/TestConnection.h"

#include "Servers/XHTTPBodyWriter.h"
#include "Servers/XHTTPServer.h"
#include "Services/XSessionLogManager.h"
#include "TestFolder.h"
#include "Time/WClock.h"

namespace
{

/// A client that speaks HTTP by hand.
struct RawClient : XNetEndpoint
{
    explicit RawClient( const XHTTPServer& inServer )
    {
        Connect( XNetAddress::GetLoopBackAddress( inServer.GetPort() ), kPatience );
    }

    void Send( const std::string& inText )
    {
        SendData( inText.data(), static_cast<std::uint32_t>( inText.size() ), kPatience );
    }

    /// Everything up to the text, with it.
    std::string ReceiveUpTo( const std::string& inEnd )
    {
        std::string text;
        for ( char next = 0; !text.ends_with( inEnd ); text += next )
            ReceiveData( &next, 1, kPatience );
        return text;
    }

    /// Everything up to the end of the connection.
    std::string ReceiveAll()
    {
        std::string text;
        char bytes[4096];
        EXPECT_ERROR(
            3100, for ( ;; ) text.append( bytes, ReceiveAnyData( bytes, sizeof( bytes ), kPatience ) ) );
        return text;
    }
};

struct XHTTPServerTest : testing::Test
{
    explicit XHTTPServerTest( const XHTTPServer::XLimits& inLimits = {} ) : itsServer( "test", inLimits )
    {
        itsServer.HandleGet( "/hello", []( const XHTTPRequest& ) { return XHTTPResponse::Text( "hello" ); } );
        itsServer.HandleGet(
            "/tree/",
            []( const XHTTPRequest& inRequest )
            { return XHTTPResponse::Text( inRequest.GetPath() + "?" + inRequest.GetParameters()["a b"] ); } );
        itsServer.HandlePost(
            "/echo",
            []( const XHTTPRequest& inRequest ) { return XHTTPResponse::Text( inRequest.GetBody() ); } );
        itsServer.Start( 0 );
    }

    /// The answer to a request that is the last of its connection.
    std::string Ask( const std::string& inLine, const std::string& inRest = "\r\n" )
    {
        RawClient client( itsServer );
        client.Send( inLine + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n" + inRest );
        return client.ReceiveAll();
    }
    std::string AskRaw( const std::string& inText )
    {
        RawClient client( itsServer );
        client.Send( inText );
        return client.ReceiveAll();
    }

    XHTTPServer itsServer;
};

std::string StatusOf( const std::string& inAnswer )
{
    return inAnswer.starts_with( "HTTP/1.1 " ) ? inAnswer.substr( 9, 3 ) : "no answer: " + inAnswer;
}

std::string BodyOf( const std::string& inAnswer )
{
    const std::size_t end = inAnswer.find( "\r\n\r\n" );
    return end == std::string::npos ? "no body" : inAnswer.substr( end + 4 );
}

std::string FieldOf( const std::string& inAnswer, const std::string& inName )
{
    const std::size_t begin = inAnswer.find( "\r\n" + inName + ": " );
    if ( begin == std::string::npos )
        return {};
    const std::size_t value = begin + inName.size() + 4;
    return inAnswer.substr( value, inAnswer.find( "\r\n", value ) - value );
}

} // namespace

TEST_F( XHTTPServerTest, AnswersByPathAndMethod )
{
    const std::string answer = Ask( "GET /hello" );
    EXPECT_EQ( StatusOf( answer ), "200" );
    EXPECT_EQ( FieldOf( answer, "Content-Length" ), "5" );
    EXPECT_TRUE( FieldOf( answer, "Date" ).ends_with( " GMT" ) );
    EXPECT_EQ( BodyOf( answer ), "hello" );
    const std::string head = Ask( "HEAD /hello" );
    EXPECT_EQ( FieldOf( head, "Content-Length" ), "5" );
    EXPECT_EQ( BodyOf( head ), "" );
    EXPECT_EQ( BodyOf( Ask( "GET /tree/b%20c/d?x=1&a+b=%2Be" ) ), "/tree/b c/d?+e" );
    EXPECT_EQ( BodyOf( Ask( "GET http://host/hello" ) ), "hello" );
    EXPECT_EQ( BodyOf( Ask( "POST /echo", "Content-Length: 3\r\n\r\nabc" ) ), "abc" );
    EXPECT_EQ(
        BodyOf( Ask(
            "POST /echo", "Transfer-Encoding: chunked\r\n\r\n2;x=y\r\nab\r\n1\r\nc\r\n0\r\nT: u\r\n\r\n" ) ),
        "abc" );
    EXPECT_EQ( StatusOf( Ask( "GET /none" ) ), "404" );
    EXPECT_EQ( FieldOf( Ask( "POST /hello", "Content-Length: 0\r\n\r\n" ), "Allow" ), "GET, HEAD" );
    EXPECT_EQ( StatusOf( Ask( "POST /hello" ) ), "405" );
    EXPECT_EQ( FieldOf( Ask( "DELETE /hello" ), "Allow" ), "GET, HEAD" );
    EXPECT_EQ( FieldOf( Ask( "PUT /echo" ), "Allow" ), "POST" );
    EXPECT_EQ( StatusOf( Ask( "PUT /none" ) ), "404" );
    EXPECT_EQ( StatusOf( Ask( "MAKE /hello" ) ), "501" );
    EXPECT_EQ( StatusOf( Ask( "POST /echo" ) ), "411" );
}

TEST_F( XHTTPServerTest, KeepsTheQueryOfATargetWithoutPath )
{
    XHTTPServer server( "root" );
    server.HandleGet(
        "/",
        []( const XHTTPRequest& inRequest )
        { return XHTTPResponse::Text( inRequest.GetParameters()["x"] ); } );
    server.Start( 0 );
    RawClient client( server );
    client.Send( "GET http://host?x=1 HTTP/1.1\r\nHost: host\r\nConnection: close\r\n\r\n" );
    EXPECT_EQ( BodyOf( client.ReceiveAll() ), "1" );
}

TEST_F( XHTTPServerTest, KeepsConnectionsForTheNextRequest )
{
    RawClient client( itsServer );
    const std::string request = "GET /hello HTTP/1.1\r\nHost: x\r\n\r\n";
    client.Send(
        request + "\r\n" + request + "POST /echo HTTP/1.1\r\nHost: x\r\nContent-Length: 4\r\n\r\nlast" );
    client.Send( "GET /hello HTTP/1.0\r\n\r\nGET /hello HTTP/1.1\r\nHost: x\r\n\r\n" );
    const std::string answers = client.ReceiveAll();
    std::size_t count = 0;
    for ( std::size_t at = 0; ( at = answers.find( "HTTP/1.1 200", at ) ) != std::string::npos; ++at )
        ++count;
    EXPECT_EQ( count, 4u ); // what follows HTTP/1.0 is not read
    EXPECT_CONTAINS( answers, "\r\n\r\nlastHTTP/1.1" );
    RawClient old( itsServer );
    old.Send( "GET /hello HTTP/1.0\r\nConnection: keep-alive\r\n\r\n" );
    EXPECT_EQ( FieldOf( old.ReceiveUpTo( "hello" ), "Connection" ), "keep-alive" );
}

/// Requests that a proxy in front could read in another way.
TEST_F( XHTTPServerTest, RefusesWhatCanBeReadInTwoWays )
{
    const std::string post = "POST /echo HTTP/1.1\r\nHost: x\r\n";
    for ( const std::string& rest :
          Split( "Content-Length: 3\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n|"
                 "Transfer-Encoding: chunked\r\nContent-Length: 3\r\n\r\n0\r\n\r\n|"
                 "Content-Length: 3\r\nContent-Length: 3\r\n\r\nabc|"
                 "Content-Length: 3\r\nContent-Length: 4\r\n\r\nabcd|Content-Length: 3, 3\r\n\r\nabc|"
                 "Content-Length: +3\r\n\r\nabc|Content-Length: -1\r\n\r\n|Content-Length: 0x3\r\n\r\nabc|"
                 "Content-Length: 99999999999999999999\r\n\r\n|Content-Length : 3\r\n\r\nabc|"
                 " Content-Length: 3\r\n\r\nabc|"
                 "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n|"
                 "Transfer-Encoding: chunked\r\n\r\n-1\r\n\r\n|"
                 "Transfer-Encoding: chunked\r\n\r\n2\r\nabc\r\n0\r\n\r\n|"
                 "Transfer-Encoding: chunked\r\n\r\nFFFFFFFFFFFFFFFFF\r\n\r\n|Host: y\r\n\r\n|"
                 "X: a\nContent-Length: 3\r\n\r\nabc|X\r\n\r\n" ) )
        EXPECT_EQ( StatusOf( AskRaw( post + rest ) ), "400" ) << rest;
    EXPECT_EQ( StatusOf( AskRaw( post + "Transfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n" ) ), "501" );
    EXPECT_EQ( StatusOf( AskRaw( post + "Transfer-Encoding: xchunked\r\n\r\n0\r\n\r\n" ) ), "501" );
    EXPECT_EQ( StatusOf( AskRaw( "GET /hello HTTP/1.1\r\n\r\n" ) ), "400" );
    EXPECT_EQ( StatusOf( AskRaw( "GET /hello HTTP/2.0\r\nHost: x\r\n\r\n" ) ), "505" );
    EXPECT_EQ(
        StatusOf( AskRaw( "POST /echo HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n" ) ), "400" );
    EXPECT_EQ( StatusOf( AskRaw( std::string( "\x16\x03\x01\x02\x00\x01", 6 ) + "\r\n\r\n" ) ), "400" );
    for ( const char* target :
          { "/%00", "/%", "/%4", "/%zz", "/../a", "/a/%2e%2E/b", "/.", "/a%2fb", "*", "hello", "/a#b" } )
        EXPECT_EQ( StatusOf( Ask( std::string( "GET " ) + target ) ), "400" ) << target;
}

TEST_F( XHTTPServerTest, WaitsForTheGoAheadOnlyWhereItIsExpected )
{
    RawClient client( itsServer );
    client.Send( "POST /echo HTTP/1.1\r\nHost: x\r\nExpect: 100-continue\r\nContent-Length: 3\r\n\r\n" );
    EXPECT_EQ( client.ReceiveUpTo( "\r\n\r\n" ), "HTTP/1.1 100 Continue\r\n\r\n" );
    client.Send( "abc" );
    EXPECT_EQ( BodyOf( client.ReceiveUpTo( "abc" ) ), "abc" );
    client.Send(
        "POST /echo HTTP/1.1\r\nHost: x\r\nExpect: 100-continue\r\nContent-Length: 999999999\r\n\r\n" );
    EXPECT_EQ( StatusOf( client.ReceiveAll() ), "413" );
    EXPECT_EQ( StatusOf( Ask( "POST /echo", "Expect: more\r\nContent-Length: 3\r\n\r\n" ) ), "417" );
}

struct XHTTPServerLimitsTest : XHTTPServerTest
{
    XHTTPServerLimitsTest() : XHTTPServerTest( MakeLimits() ) {}

    static XHTTPServer::XLimits MakeLimits()
    {
        XHTTPServer::XLimits limits;
        limits.headerBytes = 1000;
        limits.bodyBytes = 1000;
        limits.requestMS = 300;
        limits.idleMS = 1000;
        return limits;
    }
};

TEST_F( XHTTPServerLimitsTest, RefusesWhatIsTooLargeOrTooSlow )
{
    const std::string filler( 1100, 'a' );
    EXPECT_EQ( StatusOf( Ask( "GET /hello", "X: " + filler + "\r\n\r\n" ) ), "431" );
    EXPECT_EQ( StatusOf( Ask( "GET /" + filler ) ), "431" );
    EXPECT_EQ( StatusOf( Ask( "POST /echo", "Content-Length: 1001\r\n\r\n" ) ), "413" );
    EXPECT_EQ(
        StatusOf(
            Ask( "POST /echo", "Transfer-Encoding: chunked\r\n\r\n44c\r\n" + filler + "\r\n0\r\n\r\n" ) ),
        "413" );
    EXPECT_EQ( StatusOf( Ask( "POST /echo", "Transfer-Encoding: chunked\r\n\r\n1;" + filler ) ), "431" );
    EXPECT_EQ(
        StatusOf( Ask( "POST /echo", "Transfer-Encoding: chunked\r\n\r\n0\r\nX: " + filler ) ), "431" );
    EXPECT_EQ( StatusOf( AskRaw( "GET /hello HTTP/1.1\r\nHost" ) ), "408" );
    EXPECT_EQ( StatusOf( Ask( "POST /echo", "Content-Length: 3\r\n\r\nab" ) ), "408" );
    RawClient dripping( itsServer ); // each byte comes in time, the whole does not
    dripping.Send( "GET /hello HTTP/1.1\r\n" );
    const auto drip = [&]
    {
        for ( int i = 0; i < 1000; ++i, XThread::SleepCurrentThread( 10 ) )
            dripping.Send( i % 10 == 0 ? "\r\nA: " : "b" );
    };
    EXPECT_EQ( ErrorOf( drip ), 3100u );
    EXPECT_EQ( AskRaw( "" ), "" ); // idle for too long
}

TEST_F( XHTTPServerTest, StreamsUntilTheClientOrTheServerEnds )
{
    WEvent hasEnded;
    XHTTPServer server( "streams" );
    server.HandleGet(
        "/events",
        [&]( const XHTTPRequest& )
        {
            return XHTTPResponse::Events(
                [&]( XHTTPBodyWriter& ioWriter )
                {
                    ioWriter.WriteEvent( "two\rmore\r\nlines", "tick" );
                    while ( ioWriter.Sleep( kPatience ) )
                        ;
                    hasEnded.Set();
                } );
        } );
    server.HandleGet(
        "/long",
        []( const XHTTPRequest& )
        {
            return XHTTPResponse::Stream(
                "text/plain",
                []( XHTTPBodyWriter& ioWriter )
                {
                    ioWriter.Write( "part" );
                    ioWriter.Write( "" );
                    ioWriter.Write( std::string( 20, 'x' ) );
                } );
        } );
    server.Start( 0 );
    {
        RawClient client( server );
        client.Send( "GET /events HTTP/1.1\r\nHost: x\r\n\r\n" );
        EXPECT_EQ(
            BodyOf( client.ReceiveUpTo( "lines\n\n\r\n" ) ),
            "2e\r\nevent: tick\ndata: two\ndata: more\ndata: lines\n\n\r\n" );
        client.Send( "GET /hello" ); // the beginning of another request does not hide the end
        client.ForceDisconnect();
        EXPECT_TRUE( hasEnded.Wait( kPatience ) == kWaitSucceeded );
    }
    RawClient client( server );
    client.Send( "GET /long HTTP/1.1\r\nHost: x\r\n\r\n" );
    EXPECT_EQ(
        BodyOf( client.ReceiveUpTo( "0\r\n\r\n" ) ), "4\r\npart\r\n14\r\nxxxxxxxxxxxxxxxxxxxx\r\n0\r\n\r\n" );
    client.Send(
        "HEAD /long HTTP/1.1\r\nHost: x\r\n\r\nGET /long HTTP/1.0\r\nConnection: keep-alive\r\n\r\n" );
    EXPECT_TRUE( client.ReceiveUpTo( "\r\n\r\n" ).find( "chunked" ) != std::string::npos );
    EXPECT_EQ( BodyOf( client.ReceiveAll() ), "partxxxxxxxxxxxxxxxxxxxx" );
    RawClient waiting( server );
    waiting.Send( "GET /events HTTP/1.1\r\nHost: x\r\n\r\n" );
    waiting.ReceiveUpTo( "lines" );
    server.Stop();
    waiting.ReceiveAll();
}

TEST_F( XHTTPServerTest, SurvivesHandlersThatThrow )
{
    XHTTPServer server( "throws" );
    server.HandleGet( "/a", []( const XHTTPRequest& ) -> XHTTPResponse { throw XException( 1005 ); } );
    server.HandleGet( "/b", []( const XHTTPRequest& ) -> XHTTPResponse { throw std::runtime_error( "b" ); } );
    server.HandleGet( "/c", []( const XHTTPRequest& ) { return XHTTPResponse::Redirect( "/x\r\nY: z" ); } );
    server.HandleGet( "/d", []( const XHTTPRequest& ) -> XHTTPResponse { throw 4; } );
    server.Start( 0 );
    RawClient client( server );
    for ( const char* path : { "/a", "/b", "/c", "/d" } )
    {
        client.Send( std::string( "GET " ) + path + " HTTP/1.1\r\nHost: x\r\n\r\n" );
        EXPECT_EQ( StatusOf( client.ReceiveUpTo( "Error\n" ) ), "500" ) << path;
    }
}

/// The log would be theirs to fill.
TEST_F( XHTTPServerLimitsTest, LogsWhatHandlersDoButNotWhatClientsDo )
{
    const TestFolder folder;
    XSessionLogManager::XOptions options;
    options.path = folder / "session.log";
    XSessionLogManager log( options );
    itsServer.Stop();
    itsServer.HandleGet( "/fails", []( const XHTTPRequest& ) -> XHTTPResponse { throw 4; } );
    itsServer.Start( 0 );
    RawClient client( itsServer ); // does not close when the server does
    client.Send( "GET /fails HTTP/1.1\r\nHost: x\r\n\r\nGET /hello" );
    client.ReceiveUpTo( "Error\n" );
    client.ReceiveUpTo( "Timeout\n" );
    while ( itsServer.GetConnectionCount() > 0 )
        XThread::SleepCurrentThread( 1 );
    log.Flush( kPatience );
    const std::string text = folder.Read( "session.log" );
    EXPECT_CONTAINS( text, "HTTP request for /fails" );
    EXPECT_LACKS( text, "3105" );
}

TEST_F( XHTTPServerTest, RefusesConnectionsBeyondItsLimit )
{
    XHTTPServer::XLimits limits;
    limits.mostConnections = 2;
    XHTTPServer server( "few", limits );
    server.HandleGet( "/", []( const XHTTPRequest& ) { return XHTTPResponse::Text( "!" ); } );
    server.Start( 0 );
    const std::string request = "GET / HTTP/1.1\r\nHost: x\r\n\r\n";
    RawClient silent( server ), first( server ), second( server ); // the silent one takes nobody's place
    for ( RawClient* client : { &first, &second } )
    {
        client->Send( request );
        EXPECT_EQ( BodyOf( client->ReceiveUpTo( "!" ) ), "!" );
    }
    RawClient third( server );
    third.Send( request );
    EXPECT_EQ( StatusOf( third.ReceiveUpTo( "Unavailable\n" ) ), "503" );
    second.Send( request );
    EXPECT_EQ( BodyOf( second.ReceiveUpTo( "!" ) ), "!" );
    first.Disconnect( kPatience );
    RawClient fourth( server ); // there is room, though the third has not gone yet
    fourth.Send( request );
    EXPECT_EQ( BodyOf( fourth.ReceiveUpTo( "!" ) ), "!" );
}

TEST_F( XHTTPServerTest, KeepsItsOwnFieldsAndCountsConditionsOnlyWhereTheyApply )
{
    XHTTPServer server( "fields" );
    server.HandleGet(
        "/",
        []( const XHTTPRequest& inRequest )
        {
            XHTTPResponse response = XHTTPResponse::Text( "hello" );
            for ( const char* name : { "content-length", "Connection", "Transfer-Encoding", "Date" } )
                response.GetHeaders().Set( name, "mine" );
            return inRequest.GetPath() == "/" ? response : XHTTPResponse::File( {} );
        } );
    server.Start( 0 );
    RawClient client( server );
    const auto ask = [&]( const std::string& inFields )
    {
        client.Send( "GET / HTTP/1.1\r\nHost: x\r\n" + inFields + "\r\n" );
        return client.ReceiveUpTo( "hello" );
    };
    EXPECT_LACKS( ask( "" ), "mine" );
    for ( const char* condition : { "If-None-Match:\r\n", "If-None-Match: \"a\",\r\n" } ) // there is no tag
        EXPECT_EQ( StatusOf( ask( condition ) ), "200" ) << condition;
    client.Send( "GET /none HTTP/1.1\r\nHost: x\r\n\r\n" );
    EXPECT_EQ( StatusOf( client.ReceiveUpTo( "Found\n" ) ), "404" );
}

TEST( XHTTPHeadersTest, TakesTextsOfItsOwn )
{
    const std::string name( 40, 'n' ), value( 100, 'v' );
    XHTTPHeaders headers;
    headers.Add( name, value );
    headers.Add( name, "w" );
    headers.Set( headers.GetFields()[0].name, headers.GetFields()[0].value );
    EXPECT_EQ( headers.Get( name ), value );
    headers.Add( "x", "y" );
    headers.Remove( headers.GetFields()[0].name );
    EXPECT_EQ( headers.GetFields().size(), 1u );
}

// ---- Files

namespace
{

struct XHTTPServerFilesTest : testing::Test
{
    XHTTPServerFilesTest() : itsServer( "files" )
    {
        std::filesystem::create_directories( itsBase / "site/sub" );
        Write( "secret.txt", "secret" );
        Write( "site/ten.txt", "0123456789" );
        Write( "site/.hidden", "secret" );
        Write( "site/a~1", "perhaps the short name of a hidden one" );
        Write( "site/sub/index.html", "<p>" );
        Write( "site/big.bin", std::string( 1'000'003, 'b' ) );
        itsServer.ServeFolder( "/files/", itsBase / "site" );
        itsServer.Start( 0 );
    }
    ~XHTTPServerFilesTest() override { itsServer.Stop(); }

    void Write( const char* inName, const std::string& inText ) { itsBase.Write( inName, inText ); }
    std::string
    Get( const std::string& inPath, const std::string& inFields = {}, const char* inMethod = "GET" )
    {
        RawClient client( itsServer );
        client.Send(
            std::string( inMethod ) + " /files/" + inPath + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n" +
            inFields + "\r\n" );
        return client.ReceiveAll();
    }

    const TestFolder itsBase;
    XHTTPServer itsServer;
};

} // namespace

TEST_F( XHTTPServerFilesTest, ServesFilesButNothingElse )
{
    const std::string answer = Get( "ten.txt" );
    EXPECT_EQ( BodyOf( answer ), "0123456789" );
    EXPECT_EQ( FieldOf( answer, "Content-Type" ), "text/plain; charset=utf-8" );
    EXPECT_EQ( BodyOf( Get( "big.bin" ) ).size(), 1'000'003u );
    EXPECT_EQ( BodyOf( Get( "sub/" ) ), "<p>" );
    const std::string head = Get( "big.bin", {}, "HEAD" );
    EXPECT_EQ( FieldOf( head, "Content-Length" ), "1000003" );
    EXPECT_EQ( BodyOf( head ), "" );
    std::error_code error;
    std::filesystem::create_symlink( itsBase / "secret.txt", itsBase / "site/link", error );
    for ( const char* path :
          { "", "none", "sub", ".hidden", "ten.txt/", "link", "/ten.txt", "sub//index.html",
            "..%5Csecret.txt", "C:%5Cx", "ten.txt::$DATA", "ten.txt.", "a~1", "ten.txt%20", "NUL", "%ff%fe",
            "%0A" } )
        EXPECT_EQ( StatusOf( Get( path ) ), "404" ) << path;
    for ( const char* path :
          { "../secret.txt", "%2e%2e/secret.txt", "sub/../../secret.txt", "..%2fsecret.txt" } )
        EXPECT_EQ( StatusOf( Get( path ) ), "400" ) << path;
}

TEST_F( XHTTPServerFilesTest, ServesRanges )
{
    const auto getRange = [&]( const char* inRange )
    { return Get( "ten.txt", std::string( "Range: " ) + inRange + "\r\n" ); };
    const std::string part = getRange( "bytes=2-4" );
    EXPECT_EQ( StatusOf( part ), "206" );
    EXPECT_EQ( FieldOf( part, "Content-Range" ), "bytes 2-4/10" );
    EXPECT_EQ( FieldOf( part, "Content-Length" ), "3" );
    EXPECT_EQ( BodyOf( part ), "234" );
    EXPECT_EQ( BodyOf( getRange( "bytes=8-" ) ), "89" );
    EXPECT_EQ( BodyOf( getRange( "bytes=8-100" ) ), "89" );
    EXPECT_EQ( BodyOf( getRange( "bytes=9-18446744073709551615" ) ), "9" );
    EXPECT_EQ( BodyOf( getRange( "bytes=-3" ) ), "789" );
    EXPECT_EQ( BodyOf( getRange( "bytes=-100" ) ), "0123456789" );
    for ( const char* range : { "bytes=10-", "bytes=-0", "bytes=10-12" } )
    {
        EXPECT_EQ( StatusOf( getRange( range ) ), "416" ) << range;
        EXPECT_EQ( FieldOf( getRange( range ), "Content-Range" ), "bytes */10" );
    }
    for ( const char* range :
          { "bytes=4-2", "bytes=0-1,3-4", "lines=0-1", "bytes=", "bytes=-", "bytes=a-b", "bytes=1",
            "bytes=-18446744073709551616" } )
        EXPECT_EQ( StatusOf( getRange( range ) ), "200" ) << range;
}

TEST_F( XHTTPServerFilesTest, ServesOnlyWhatTheClientLacks )
{
    const std::string answer = Get( "ten.txt" );
    const std::string tag = FieldOf( answer, "ETag" ), date = FieldOf( answer, "Last-Modified" );
    const auto status = [&]( const std::string& inFields ) { return StatusOf( Get( "ten.txt", inFields ) ); };
    const std::string old = "Thu, 05 Mar 1998 16:07:08 GMT", next = "Thu, 05 Mar 2037 16:07:08 GMT";
    EXPECT_EQ( status( "If-None-Match: \"x\", W/" + tag + "\r\n" ), "304" );
    EXPECT_EQ( BodyOf( Get( "ten.txt", "If-None-Match: *\r\n" ) ), "" );
    EXPECT_EQ( status( "If-None-Match: \"x\"\r\nIf-Modified-Since: " + next + "\r\n" ), "200" );
    EXPECT_EQ( status( "If-Modified-Since: " + date + "\r\n" ), "304" );
    EXPECT_EQ( status( "If-Modified-Since: " + old + "\r\n" ), "200" );
    EXPECT_EQ( status( "If-Modified-Since: yesterday\r\n" ), "200" );
    EXPECT_EQ( status( "If-Match: \"x\"\r\n" ), "412" );
    EXPECT_EQ( status( "If-Match: " + tag + "\r\n" ), "200" );
    EXPECT_EQ( status( "If-Unmodified-Since: " + old + "\r\n" ), "412" );
    EXPECT_EQ( status( "Range: bytes=0-1\r\nIf-Range: " + tag + "\r\n" ), "206" );
    EXPECT_EQ( status( "Range: bytes=0-1\r\nIf-Range: \"x\"\r\n" ), "200" );
    Write( "site/ten.txt", "now longer than ten" );
    EXPECT_EQ( status( "If-None-Match: " + tag + "\r\n" ), "200" );
}
