#include "Linux/TestProcess.h"
#include "Network/TestResponders.h"

#include "Network/XPipeEndpointImp.h"
#include "Servers/XNamedPipeServer.h"

#include <filesystem>
#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace
{

/// Has the pipes of a test lie in a folder of its own.
struct XNamedPipeServerFolderTest : testing::Test
{
    XNamedPipeServerFolderTest()
        : itsBase( std::filesystem::temp_directory_path() / ( "kv" + std::to_string( getpid() ) ) )
    {
        std::filesystem::create_directory( itsBase );
        if ( const char* before = std::getenv( "XDG_RUNTIME_DIR" ) )
            itsBefore = before;
        setenv( "XDG_RUNTIME_DIR", itsBase.c_str(), 1 );
    }
    ~XNamedPipeServerFolderTest() override
    {
        if ( itsBefore.empty() )
            unsetenv( "XDG_RUNTIME_DIR" );
        else
            setenv( "XDG_RUNTIME_DIR", itsBefore.c_str(), 1 );
        std::filesystem::remove_all( itsBase );
    }

    std::filesystem::path GetFolder() const { return itsBase / "korvale"; }
    static void Echo( const char* inName )
    {
        XNamedPipeServer server{ XString( inName ) };
        server.SetOnlyResponder( MakeEcho );
        server.Start();
        XNetEndpoint client = XPipeEndpointImp::ConnectTo( inName, kPatience );
        EXPECT_EQ( Say( client, 'x' ), 'x' );
    }

    const std::filesystem::path itsBase;
    std::string itsBefore;
};

} // namespace

TEST_F( XNamedPipeServerFolderTest, IsTheUsersAlone )
{
    Echo( "pipe" );
    struct stat status = {};
    ASSERT_EQ( stat( GetFolder().c_str(), &status ), 0 );
    EXPECT_EQ( status.st_mode & 0777, 0700u );
    EXPECT_FALSE( std::filesystem::exists( GetFolder() / "pipe" ) ); // gone with the server
    std::filesystem::permissions( GetFolder(), std::filesystem::perms( 0750 ) );
    XNamedPipeServer server( "pipe" );
    EXPECT_ERROR( 1021, server.Start() );
}

TEST_F( XNamedPipeServerFolderTest, TakesTheNameOfADeadListenerButNoFile )
{
    std::filesystem::create_directory( GetFolder() );
    std::filesystem::permissions( GetFolder(), std::filesystem::perms( 0700 ) );
    const int dead = socket( AF_UNIX, SOCK_STREAM, 0 );
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy( address.sun_path, ( GetFolder() / "stale" ).c_str() );
    ASSERT_EQ( bind( dead, reinterpret_cast<sockaddr*>( &address ), sizeof( address ) ), 0 );
    close( dead );
    Echo( "stale" );
    std::ofstream( GetFolder() / "file" ) << "kept";
    XNamedPipeServer server( "file" );
    EXPECT_ERROR( 10048, server.Start() );
    EXPECT_TRUE( std::filesystem::exists( GetFolder() / "file" ) );
}

/// Even where the folder has been opened to others meanwhile.
TEST_F( XNamedPipeServerFolderTest, EndsConnectionsOfOtherUsers )
{
    if ( geteuid() != 0 )
        GTEST_SKIP() << "only root can be another user";
    XNamedPipeServer server( "pipe" );
    server.SetOnlyResponder( MakeEcho );
    server.Start();
    const std::filesystem::path path = GetFolder() / "pipe";
    std::filesystem::permissions( GetFolder(), std::filesystem::perms( 0755 ) );
    std::filesystem::permissions( path, std::filesystem::perms( 0777 ) );
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy( address.sun_path, path.c_str() );
    EXPECT_TRUE( PassesInChild(
        [&]
        {
            constexpr uid_t kNobody = 65534;
            char byte = 'x';
            const int client = socket( AF_UNIX, SOCK_STREAM, 0 );
            ASSERT_EQ( setuid( kNobody ), 0 );
            ASSERT_EQ( connect( client, reinterpret_cast<sockaddr*>( &address ), sizeof( address ) ), 0 );
            send( client, &byte, 1, MSG_NOSIGNAL );
            EXPECT_LE( recv( client, &byte, 1, 0 ), 0 );
        } ) );
    XNetEndpoint client = XPipeEndpointImp::ConnectTo( "pipe", kPatience );
    EXPECT_EQ( Say( client, 'x' ), 'x' );
}

/// Its listener has no time for those who connect, so that it cannot be told from a probe whether it lives.
TEST_F( XNamedPipeServerFolderTest, LeavesANameToABusyListener )
{
    const XNetEndpoint listener = XPipeEndpointImp::BindTo( "busy", 1 );
    std::vector<XNetEndpoint> clients;
    std::uint32_t error = 0;
    while ( error == 0 )
        error = ErrorOrZero( [&] { clients.push_back( XPipeEndpointImp::ConnectTo( "busy", 0 ) ); } );
    EXPECT_EQ( error, 3105u );
    EXPECT_ERROR( 10048, XPipeEndpointImp::BindTo( "busy" ) );
}

TEST_F( XNamedPipeServerFolderTest, TellsWhichPipeCannotBe )
{
    setenv( "XDG_RUNTIME_DIR", ( "/" + std::string( 200, 'x' ) ).c_str(), 1 );
    EXPECT_CONTAINS(
        TextOfError( [] { XPipeEndpointImp::ConnectTo( "far", kPatience ); } ), "xxx/korvale/far" );
}
