#include "NetJobs/XControlBridge.h"
#include "NetJobs/XNetJobControl.h"
#include "NetJobs/XNetJobDeployment.h"
#include "NetJobs/XNetJobQueueNode.h"
#include "RemoteCalls/XRPCResponder.h"
#include "Servers/XNetServer.h"
#include "Tools/ProgramRun.h"

#include <regex>

// What needs processes of their own, control among it, is in remote_calls_peer.py.

namespace
{
class ClusterCommandsTest : public ProgramRun
{
};
} // namespace

TEST_F( ClusterCommandsTest, PingsBridgesOfBothKinds )
{
    XNetServer control( "control" );
    XServeBridge<XControlBridge>( control, XRPCBridge::kServer );
    control.Start( XNetAddress::GetLoopBackAddress( 0 ) );
    XNetServer plain( "plain" );
    XServeBridge<XRPCBridge>( plain, XRPCBridge::kServer );
    plain.Start( XNetAddress::GetLoopBackAddress( 0 ) );
    const auto ping = [&]( const XNetServer& inServer, const std::vector<std::string>& inOptions )
    {
        std::vector<std::string> arguments{
            "ping", "127.0.0.1:" + std::to_string( inServer.GetPort() ), "--cipher", "none" };
        arguments.insert( arguments.end(), inOptions.begin(), inOptions.end() );
        return Run( arguments );
    };
    EXPECT_EQ( ping( control, {} ), 0 ) << itsError.str();
    const std::string number = "[0-9]+\\.[0-9]{3} ms";
    EXPECT_TRUE( std::regex_match(
        itsOut.str(),
        std::regex(
            "127\\.0\\.0\\.1:[0-9]+: connected in " + number + "\n10 calls: minimum " + number + ", median " +
            number + ", maximum " + number + "\n" ) ) )
        << itsOut.str();
    EXPECT_EQ( ping( plain, { "--plain", "--count", "1" } ), 0 ) << itsError.str();
    EXPECT_NE( itsOut.str().find( "\n1 call: " ), std::string::npos );
    EXPECT_EQ( ping( plain, {} ), 1 ); // the preamble is no call
    EXPECT_NE( itsError.str().find( "korvale: 127.0.0.1:" ), std::string::npos );
    EXPECT_NE( itsError.str().find( "; the keys, ciphers or ports" ), std::string::npos );
}

TEST_F( ClusterCommandsTest, RunsNodesAndPrintsTheStateOfAControlService )
{
    XNetJobControl control{ XRPCCipher() };
    control.Start( XNetAddress::GetLoopBackAddress( 0 ) );
    const std::string place = "127.0.0.1:" + std::to_string( control.GetPort() );
    EXPECT_EQ( RunLine( "node --control % --cipher none --idle-exit 0", place ), 0 ) << itsError.str();
    EXPECT_EQ( itsOut.str(), "connected to " + place + "\n" );
    EXPECT_EQ( RunLine( "status % --cipher none", place ), 0 ) << itsError.str();
    EXPECT_EQ( itsOut.str(), "0 jobs completed, 0.0 per second\n" ); // the node has logged off

    XNetJobQueueNode node(
        { XNetAddress::GetLoopBackAddress( control.GetPort() ), XRPCCipher(), nullptr },
        { "a \"node\"", XNetJobQueueNode::kNodePermanent, 3 } );
    node.Start();
    EXPECT_EQ( RunLine( "status % --cipher none", place ), 0 ) << itsError.str();
    EXPECT_TRUE( std::regex_search(
        itsOut.str(),
        std::regex( "\nNode +Workers +Running +Assigned +Completed\na \"node\" on .* +3 +0 +0 +0\n" ) ) )
        << itsOut.str();
    EXPECT_EQ( RunLine( "status % --cipher none --json", place ), 0 ) << itsError.str();
    EXPECT_CONTAINS( itsOut.str(), "\"name\": \"a \\\"node\\\"\"" );
    EXPECT_CONTAINS( itsOut.str(), "\"workers\": 3, \"silent_ms\": " );
    EXPECT_CONTAINS( itsOut.str(), "\"clients\": []" );
    control.Stop();
    EXPECT_EQ( RunLine( "status % --cipher none", place ), 1 );
}

TEST_F( ClusterCommandsTest, RefusesPlacesAndProtectionThatMakeNoSense )
{
    for ( const char* const place : { "", "host", ":1", "host:", "host:65536", "a b:1", "::1:1", "host:1x" } )
    {
        EXPECT_EQ( Run( { "ping", place } ), 2 ) << place;
        EXPECT_EQ( Run( { "control", "--listen", place } ), 2 ) << place;
    }
    EXPECT_NE( itsError.str().find( "\"host:1x\" (expected HOST:PORT" ), std::string::npos );
    EXPECT_EQ( Run( { "control", "--listen", "0.0.0.0:0", "--no-tls", "--cipher", "none" } ), 2 );
    EXPECT_EQ( Run( { "control", "--tls", "--no-tls" } ), 2 );
    EXPECT_EQ( Run( { "ping", "127.0.0.1:1", "--keys", Name( "none" ) } ), 1 );
    EXPECT_NE( itsError.str().find( "none" ), std::string::npos ) << itsError.str();
}
