#include "Core/Streams/XMemStream.h"
#include "Measuring/MeasurePageJob.h"
#include "NetJobs/XControlBridge.h"
#include "NetJobs/XNetJobControl.h"
#include "NetJobs/XNetJobDeployment.h"
#include "NetJobs/XNetJobQueueNode.h"
#include "RemoteCalls/XRPCResponder.h"
#include "Servers/XNetServer.h"
#include "Services/XAppVersion.h"
#include "Tools/ProgramRun.h"

#include <filesystem>
#include <regex>

// What needs processes of their own, control among it, is in remote_calls_peer.py.

namespace
{
class ClusterCommandsTest : public ProgramRun
{
};

/// A control service with nodes, without protection.
struct TestDeployment
{
    explicit TestDeployment( int inNodes )
    {
        MeasurePageJob::Register();
        control.Start( XNetAddress::GetLoopBackAddress( 0 ) );
        place = "127.0.0.1:" + std::to_string( control.GetPort() );
        for ( int i = 0; i < inNodes; ++i )
        {
            nodes.push_back( std::make_unique<XNetJobQueueNode>(
                XNetJobDeployment{
                    XNetAddress::GetLoopBackAddress( control.GetPort() ), XRPCCipher(), nullptr },
                XNetJobQueueNode::XSettings{ "node", XNetJobQueueNode::kNodePermanent, 2 } ) );
            nodes.back()->Start();
        }
    }

    XNetJobControl control{ XRPCCipher() };
    std::string place;
    std::vector<std::unique_ptr<XNetJobQueueNode>> nodes;
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
        { "a \"node\"", XNetJobQueueNode::kNodePermanent, 1 } );
    node.Start();
    EXPECT_EQ( RunLine( "status % --cipher none", place ), 0 ) << itsError.str();
    EXPECT_TRUE( std::regex_search(
        itsOut.str(),
        std::regex( "\nNode +Workers +Running +Assigned +Completed\na \"node\" on .* +1 +0 +0 +0\n" ) ) )
        << itsOut.str();
    EXPECT_EQ( RunLine( "status % --cipher none --json", place ), 0 ) << itsError.str();
    EXPECT_CONTAINS( itsOut.str(), "\"name\": \"a \\\"node\\\"\"" );
    EXPECT_CONTAINS( itsOut.str(), "\"workers\": 1, \"silent_ms\": " );
    EXPECT_CONTAINS( itsOut.str(), "\"clients\": []" );
    control.Stop();
    EXPECT_EQ( RunLine( "status % --cipher none", place ), 1 );
}

TEST_F( ClusterCommandsTest, AnotherVersionOfTheProgramIsRefusedWithOneClearLine )
{
    TestDeployment deployment( 0 );
    ASSERT_EQ( RunLine( "sample @ --planes 1 --width 60 --height 50 --objects 3" ), 0 );
    const XAppVersion own = XAppVersion::GetCurrent();
    XAppVersion::SetCurrent( XAppVersion( "korvale", own.GetMajor(), own.GetMinor() + 1, 7 ) );
    const std::string line = "korvale: " + deployment.place + ": " +
        XAppVersion::GetCurrent().GetDescription().ToUTF8() +
        " is not compatible with the version of the service (3092)\n";
    EXPECT_EQ( RunLine( "node --control % --cipher none", deployment.place ), 1 );
    EXPECT_EQ( itsError.str(), line );
    EXPECT_EQ( RunLine( "measure @sample.tif -o @table -q --cipher none --control %", deployment.place ), 1 );
    EXPECT_CONTAINS( itsError.str(), line );
    XAppVersion::SetCurrent( own );
    EXPECT_CONTAINS(
        deployment.control.GetStatus().failures.at( 0 ).text.GetConstCharPtr(), " refused: korvale " );
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

TEST_F( ClusterCommandsTest, MeasuresOnNodesWithTheResultsOfOneMachine )
{
    TestDeployment deployment( 2 );
    ASSERT_EQ( RunLine( "sample @ --planes 5 --width 150 --height 90 --channels 2 --objects 6" ), 0 );
    const char* const kOptions[] = {
        "--overlay @%o.png --labels @%l.tif --shape --inside otsu --inside-channel C2",
        "--background mean --labels @%l.tif --save-background @%b.tif",
        "--background min --overlay @%o.png",
        "--channel C9",
        "--threshold 30000 --split distance --shape --pixel-size 0.5,2 --open 1 --exclude-edges --max-pixels 900",
        "--threshold local:15 --threshold-scale 1.1 --dark --smooth 1.5 --median 2 --inside 20000",
        "--threshold multiotsu:4:2 --flatten 20 --subtract-background 9 --close 2 --fill-holes" };
    for ( const std::string options : kOptions )
        for ( const std::string shared : { "", " --shared-files" } )
        {
            const auto measure = [&]( const std::string& inPrefix, const std::string& inNodes )
            {
                std::string line = "measure @sample.tif --csv @" + inPrefix + ".csv -o @" + inPrefix +
                    ".table " + options + inNodes;
                for ( auto at = line.find( '%' ); at != std::string::npos; at = line.find( '%' ) )
                    line.replace( at, 1, inPrefix );
                const int status = RunLine( line );
                return std::to_string( status ) + itsOut.str() + itsError.str() + ReadFiles( inPrefix );
            };
            const std::string here = measure( "x-", "" );
            const std::string there =
                measure( "y-", " --control " + deployment.place + " --cipher none" + shared );
            EXPECT_TRUE( here == there ) << options << shared << '\n' << there.substr( 0, 300 );
            std::filesystem::remove( itsFolder / "x-.table" );
            std::filesystem::remove( itsFolder / "y-.table" );
        }
    EXPECT_GE( deployment.control.GetStatus().completedJobs, 40u );
}

TEST_F( ClusterCommandsTest, ContinuesInterruptedRunsWithAndWithoutNodes )
{
    if ( !HasFullDevice() )
        GTEST_SKIP();
    TestDeployment deployment( 1 );
    const std::string nodes = " --control " + deployment.place + " --cipher none";
    ASSERT_EQ( RunLine( "sample @ --planes 6 --width 90 --height 80 --objects 4" ), 0 );
    const std::string line = "measure @sample.tif --overlay @o.png --resume -o @t --csv ";
    ASSERT_EQ( RunLine( "measure @sample.tif --overlay @o.png -o @t --csv @c" ), 0 );
    const std::string expected = ReadFiles( "t" ) + ReadFiles( "c" ) + ReadFiles( "o" );
    for ( const std::string& first : { std::string(), nodes, nodes + " --shared-files" } )
        for ( const std::string& second : { std::string(), nodes, nodes + " --shared-files" } )
        {
            ASSERT_EQ( RunLine( line + "/dev/full" + first ), 1 );
            RemoveNew();
            const auto journal = itsFolder / "t.journal";
            std::filesystem::resize_file( journal, std::filesystem::file_size( journal ) / 2 );
            EXPECT_EQ( RunLine( line + "@c" + second ), 0 ) << itsError.str();
            EXPECT_CONTAINS( itsError.str(), "continues with 2 finished pages" );
            EXPECT_TRUE( ReadFiles( "t" ) + ReadFiles( "c" ) + ReadFiles( "o" ) == expected )
                << first << " then" << second;
        }
}

TEST_F( ClusterCommandsTest, RejectsSharedFilesThatDifferAndResultsThatNoPageGives )
{
    TestDeployment deployment( 1 );
    ASSERT_EQ( RunLine( "sample @ --planes 2 --width 60 --height 50 --objects 3" ), 0 );
    const auto path = itsFolder / "sample.tif";
    const auto store = []( const XStorable& inObject )
    {
        XMemStream stream;
        inObject.WriteStream2( stream );
        return std::string( stream.GetData(), stream.GetData() + stream.GetLength() );
    };
    const MeasurePageJob::Request request{ "sample.tif",        1, {}, true, SharedFile::Describe( path ),
                                           XImageReadSettings() };
    const auto run = [&]
    {
        MeasurePageJob job( request, nullptr, nullptr, nullptr );
        job.RunJob();
        return job.TakeResult();
    };
    const auto result = run();
    const std::string bytes = store( *result );
    ASSERT_FALSE( dynamic_cast<const MeasurePageResult&>( *result ).failure );
    const auto read = [&]( const std::string& inBytes )
    {
        XMemStream stream( inBytes.data(), inBytes.size() );
        MeasurePageResult other;
        other.ReadStream2( stream, XStorable::kNoOptions );
        return store( other );
    };
    EXPECT_TRUE( read( bytes ) == bytes );
    for ( std::size_t size = 0; size < bytes.size(); size += size < 200 ? 1 : 37 )
        EXPECT_EQ( ErrorOrZero( [&] { read( bytes.substr( 0, size ) ); } ), 1260u ) << size;
    std::string forged = bytes; // the last run of an object, before the colour, the empty children and theirs
    const std::size_t row = bytes.size() - ( 3 + 8 + 8 + 8 + 3 + 8 ) - 16;
    for ( std::size_t i = 0; i < 4; ++i )
        forged[row + i] = '\x7F';
    EXPECT_ERROR( 1005, read( forged ) );
    dynamic_cast<MeasurePageResult&>( *result ).page.sketch->objects.pop_back();
    EXPECT_ERROR( 1005, read( store( *result ) ) );

    std::filesystem::last_write_time(
        path, std::filesystem::last_write_time( path ) - std::chrono::seconds( 9 ) );
    const auto refused = run();
    EXPECT_CONTAINS( dynamic_cast<const MeasurePageResult&>( *refused ).failure->text, "modification time" );
}
