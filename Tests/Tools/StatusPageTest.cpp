#include "StatusPage/StatusPage.h"
#include "Core/Times/XTimer.h"
#include "Network/XNetEndpoint.h"
#include "StatusPage/StatusHTML.h"
#include "StatusPage/StatusJSON.h"
#include "Testing.h"

#include <gtest/gtest.h>

#include <atomic>

namespace
{
constexpr std::uint32_t kLimitMS = 30'000;

XNetJobStatus MakeHostileStatus()
{
    XNetJobStatus status;
    status.nodes.emplace_back();
    status.nodes[0].id = 7;
    status.nodes[0].name = "<script>\"\\\n";
    status.nodes[0].computerName = "a&b";
    status.clients.emplace_back();
    status.clients[0].name = XString( std::string( 5000, '<' ) );
    status.failures.push_back( { 61'000, "</td>\r\n\r\ndata: x" } );
    status.throughput = { 0, 50, 10 };
    return status;
}

/// A page whose status counts the calls.
class StatusPageTest : public testing::Test
{
protected:
    StatusPageTest() { itsPage.Start( NetworkPlace( "127.0.0.1:0" ) ); }

    XNetEndpoint Connect( const std::string& inText ) const
    {
        XNetEndpoint endpoint;
        endpoint.Connect( XNetAddress::GetLoopBackAddress( itsPage.GetPort() ), kLimitMS );
        endpoint.SendData( inText.data(), static_cast<std::uint32_t>( inText.size() ), kLimitMS );
        return endpoint;
    }
    /// Everything up to this text, or the end of the connection.
    static std::string Receive( XNetEndpoint& ioEndpoint, const std::string& inEnd = {} )
    {
        std::string text;
        char bytes[4096];
        EXPECT_NO_THROW( {
            try
            {
                while ( inEnd.empty() || text.find( inEnd ) == std::string::npos )
                    text.append( bytes, ioEndpoint.ReceiveAnyData( bytes, sizeof( bytes ), kLimitMS ) );
            }
            catch ( const XException& error )
            {
                if ( error.GetErrorNumber() != kErrorDisconnected )
                    throw;
            }
        } );
        return text;
    }
    std::string Ask( const std::string& inLine, const std::string& inHost = "localhost:1" ) const
    {
        XNetEndpoint endpoint =
            Connect( inLine + " HTTP/1.1\r\nConnection: close\r\nHost: " + inHost + "\r\n\r\n" );
        return Receive( endpoint );
    }
    std::string StatusOf( const std::string& inLine, const std::string& inHost = "localhost" ) const
    {
        return Ask( inLine, inHost ).substr( 9, 3 );
    }

    std::atomic<int> itsCalls = 0;
    std::atomic<std::uint64_t> itsCompleted = 0;
    StatusPage itsPage{ [this]
                        {
                            ++itsCalls;
                            XNetJobStatus status = MakeHostileStatus();
                            status.completedJobs = itsCompleted;
                            return status;
                        } };
};
} // namespace

TEST_F( StatusPageTest, ServesThePageItsDataAndNothingElse )
{
    const std::string page = Ask( "GET /" );
    EXPECT_CONTAINS( page, "Content-Security-Policy: default-src 'none'" );
    EXPECT_CONTAINS( page, WriteStatusHTML( MakeHostileStatus() ).substr( 0, 2000 ) );
    EXPECT_CONTAINS( Ask( "GET /status.json" ), WriteStatusJSON( MakeHostileStatus() ) );
    EXPECT_CONTAINS(
        Ask( "GET /metrics" ),
        "\nkorvale_node_workers{id=\"7\",name=\"<script>\\\"\\\\\\n\",computer=\"a&b\"} 0\n" );
    EXPECT_CONTAINS( Ask( "GET /page.js" ), "EventSource" );
    EXPECT_CONTAINS( Ask( "GET /page.css" ), ":root" );
    EXPECT_EQ( Ask( "HEAD /status.json" ).find( "nodes" ), std::string::npos );
    for ( const char* const path : { "/nothing", "/page.html", "/status.json/", "/Files/page.css" } )
        EXPECT_EQ( StatusOf( std::string( "GET " ) + path ), "404" ) << path;
    for ( const char* const method : { "POST", "PUT", "DELETE", "PATCH", "OPTIONS" } )
        EXPECT_EQ( StatusOf( std::string( method ) + " /status.json" ), "405" ) << method;
    for ( const char* const host : { "127.0.0.1", "127.1.2.3:80", "LocalHost:8" } )
        EXPECT_EQ( StatusOf( "GET /", host ), "200" ) << host;
    for ( const char* const host : { "example.org", "127.example.org", "localhost.example.org:80", "" } )
        EXPECT_EQ( StatusOf( "GET /metrics", host ), "403" ) << host;
}

TEST_F( StatusPageTest, EscapesAndShortensWhatPeersSend )
{
    const std::string html = WriteStatusHTML( MakeHostileStatus() );
    EXPECT_CONTAINS( html, "&lt;script&gt;&quot;\\  on a&amp;b" );
    EXPECT_CONTAINS( html, "&lt;/td&gt;" );
    EXPECT_CONTAINS( html, ">61 s<" );
    EXPECT_CONTAINS( html, "d=\"M117 100V100H118V0H119V80H120\"" );
    EXPECT_EQ( html.find_first_of( "\r\n" ), std::string::npos );
    EXPECT_LT( html.size(), 10'000u );
    XNetJobStatus ordered;
    ordered.nodes.resize( 3 );
    ordered.nodes[0].name = "node-10";
    ordered.nodes[1].name = "node-2";
    ordered.nodes[2].name = "node-1";
    const std::string list = WriteStatusHTML( ordered );
    EXPECT_LT( list.find( "node-1 " ), list.find( "node-2 " ) );
    EXPECT_LT( list.find( "node-2 " ), list.find( "node-10 " ) );
    XNetJobStatus many;
    many.nodes.resize( 1201 );
    many.nodes.back().isConnected = false;
    const std::string shortened = WriteStatusHTML( many );
    EXPECT_CONTAINS( shortened, "1001 nodes more" );
    EXPECT_CONTAINS( shortened, "disconnected" );
}

TEST_F( StatusPageTest, ManyViewersShareTheStatusAndEndWithTheServer )
{
    constexpr int kViewers = 200;
    XVector<XNetEndpoint> viewers;
    for ( int i = 0; i < kViewers; ++i )
        viewers.push_back( Connect( "GET /events HTTP/1.1\r\nHost: localhost\r\n\r\n" ) );
    const XTimer timer;
    for ( XNetEndpoint& viewer : viewers )
        EXPECT_CONTAINS( Receive( viewer, "data: <section id=\"totals\">" ), "text/event-stream" );
    itsCompleted = 4711;
    for ( XNetEndpoint& viewer : viewers )
        Receive( viewer, "<dd>4711</dd>" );
    EXPECT_LE( itsCalls, 3 + timer.GetElapsedMS() / 500 );
}
