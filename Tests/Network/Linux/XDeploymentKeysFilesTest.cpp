#include "Linux/TestProcess.h"
#include "Network/Linux/TestTLS.h"
#include "Network/XDeploymentKeys.h"
#include "TestFolder.h"

#include <sys/stat.h>

namespace fs = std::filesystem;

namespace
{

constexpr auto kControl = XDeploymentKeys::kRoleControlService;
constexpr auto kNode = XDeploymentKeys::kRoleNode;

/// The folder of a deployment, made by somebody who is generous with access.
struct TestKeys : TestFolder
{
    TestKeys()
    {
        const mode_t before = umask( 0 );
        XDeploymentKeys::Create( GetPath() );
        umask( before );
    }
};

} // namespace

TEST( XDeploymentKeysFilesTest, AreForTheirOwnerAlone )
{
    const TestKeys folder;
    EXPECT_EQ( fs::status( folder.GetPath() ).permissions(), fs::perms::owner_all );
    EXPECT_EQ( folder.CountEntries(), 7u );
    for ( const auto& file : fs::directory_iterator( folder.GetPath() ) )
    {
        EXPECT_EQ( file.status().permissions(), fs::perms::owner_read | fs::perms::owner_write )
            << file.path();
        for ( const auto access : { fs::perms::group_read, fs::perms::others_write } )
        {
            const std::string name = file.path().filename();
            fs::permissions( file.path(), access, fs::perm_options::add );
            const auto load = [&]
            {
                const XDeploymentKeys keys( folder.GetPath() );
                keys.MakeTLSContext( kControl, kNode );
                keys.MakeTLSContext( kNode, kControl );
            };
            if ( name == "authority.key" )
                load(); // which nobody needs
            else
                EXPECT_EQ( ErrorOf( load ), 3128u ) << name;
            fs::permissions( file.path(), access, fs::perm_options::remove );
        }
    }
}

/// Another process may work in it.
TEST( XDeploymentKeysFilesTest, ComeIntoTheFolderThatIsThere )
{
    const TestFolder folder;
    struct stat before = {}, after = {};
    stat( folder.GetPath().c_str(), &before );
    XDeploymentKeys::Create( folder.GetPath() );
    stat( folder.GetPath().c_str(), &after );
    EXPECT_EQ( before.st_ino, after.st_ino );
}

/// The key fits, a certificate does not.
TEST( XDeploymentKeysFilesTest, LeaveNothingBehindWhereOneCannotBeWritten )
{
    const TestFolder folder;
    for ( const auto& target : { folder / "keys", folder.GetPath() } )
    {
        const ProcessLimit little( RLIMIT_FSIZE, 100 );
        EXPECT_NE( ErrorOf( [&] { XDeploymentKeys::Create( target ); } ), 0u );
        EXPECT_EQ( folder.CountEntries(), 0u );
    }
}

/// Each error names the file that it is about, and none waits for what never comes.
TEST( XDeploymentKeysFilesTest, AreNamedWhereTheyAreNotWhatTheyShouldBe )
{
    const TestKeys folder;
    const auto expectError = [&]( const std::string& inFile, std::uint32_t inError )
    {
        const auto load = [&] { XDeploymentKeys( folder.GetPath() ).MakeTLSContext( kNode, kControl ); };
        EXPECT_EQ( ErrorOf( load ), inError ) << inFile;
        EXPECT_CONTAINS( TextOfError( load ), ( folder / inFile ).string() );
    };
    for ( const std::string file : { "authority.crt", "node.crt", "node.key", "key" } )
    {
        const std::string text = folder.Read( file );
        folder.Write( file, file == "node.key" ? folder.Read( "control.key" ) : "x" );
        expectError( file, 1005 );
        folder.Write( file, text );
        if ( geteuid() == 0 ) // who may read the files of others
        {
            EXPECT_EQ( chown( ( folder / file ).c_str(), 1, 1 ), 0 );
            expectError( file, 3128 );
            EXPECT_EQ( chown( ( folder / file ).c_str(), 0, 0 ), 0 );
        }
        fs::rename( folder / file, folder / "kept" );
        ASSERT_EQ( mkfifo( ( folder / file ).c_str(), 0600 ), 0 );
        expectError( file, 1005 );
        fs::rename( folder / "kept", folder / file );
    }
}

TEST( XDeploymentKeysFilesTest, LetTheirDeploymentConnect )
{
    const TestKeys folder, other;
    const XDeploymentKeys keys( folder.GetPath() );
    const auto control = keys.MakeTLSContext( kControl, kNode );
    const auto node = keys.MakeTLSContext( kNode, kControl );
    TestListener listener( MakeTLSEndpoint( control ) );
    const auto connect = [&]( const std::shared_ptr<const WTLSContext>& inContext )
    {
        std::uint32_t error = 0;
        RunTogether(
            [&]
            {
                XNetEndpoint client = MakeTLSEndpoint( inContext );
                error = ErrorOrZero( [&] { client.Connect( listener.GetAddress(), kPatience ); } );
            },
            [&]
            {
                char byte = 0;
                const auto server = listener.Accept();
                ErrorOf( [&] { server->ReceiveAnyData( &byte, 1, kPatience ); } );
            } );
        return error;
    };
    EXPECT_EQ( connect( node ), 0u );
    EXPECT_EQ( connect( control ), 3125u ); // expects a node at the other side
    EXPECT_EQ( connect( XDeploymentKeys( other.GetPath() ).MakeTLSContext( kNode, kControl ) ), 3124u );
}
