#include "Network/XDeploymentKeys.h"

#include "Network/TestVariable.h"
#include "Network/XEncryption.h"
#include "TestFolder.h"

namespace fs = std::filesystem;

namespace
{

/// What is thrown names the file.
template<class TAction>
std::uint32_t ErrorNaming( const std::string& inFile, TAction inAction )
{
    EXPECT_CONTAINS( TextOfError( inAction ), inFile );
    return ErrorOf( inAction );
}

} // namespace

TEST( XDeploymentKeysTest, MakesWhatItReads )
{
    const TestFolder folder;
    XDeploymentKeys::Create( folder / "keys" );
    const std::string key = folder.Read( "keys/key" );
    ASSERT_EQ( key.size(), 33u );
    const XDeploymentKeys keys( folder / "keys" );
    for ( USize i = 0; i < XEncryption::kKeySize; ++i )
        EXPECT_EQ(
            static_cast<std::uint8_t>( keys.GetKey()[i] ),
            std::stoul( key.substr( 2 * i, 2 ), nullptr, 16 ) );
    const auto makeContext = [&]
    { keys.MakeTLSContext( XDeploymentKeys::kRoleNode, XDeploymentKeys::kRoleControlService ); };
    if ( XDeploymentKeys::HasTLS() )
        makeContext();
    else
        EXPECT_EQ( ErrorOf( makeContext ), 3120u );

    fs::create_directory( folder / "empty" );
    XDeploymentKeys::Create( folder / "empty" );
    EXPECT_NE( folder.Read( "empty/key" ), key );
    EXPECT_EQ( folder.CountEntries(), 2u );
}

TEST( XDeploymentKeysTest, LeavesNothingBehindWhereItCannotBeMade )
{
    const TestFolder folder;
    fs::create_directory( folder / "full" );
    folder.Write( "full/file", "x" );
    folder.Write( "plain", "x" );
    const auto create = [&]( const char* inName )
    {
        const fs::path below = std::string( inName ) == "missing" ? "keys" : "";
        return ErrorNaming( inName, [&] { XDeploymentKeys::Create( folder / inName / below ); } );
    };
    EXPECT_EQ( create( "full" ), 1013u );
    create( "plain" );
    create( "missing" );
    EXPECT_EQ( folder.CountEntries(), 2u );
    EXPECT_EQ( std::distance( fs::directory_iterator( folder / "full" ), fs::directory_iterator() ), 1 );
}

TEST( XDeploymentKeysTest, RefusesWhatIsNoKey )
{
    const TestFolder folder;
    const auto load = [&] { XDeploymentKeys{ folder / "keys" }; };
    fs::create_directory( folder / "keys" );
    EXPECT_EQ( ErrorNaming( "key", load ), 2u );
    XDeploymentKeys::Create( folder / "keys" );
    for ( const char* text :
          { "", "0123456789abcdef0123456789abcde", "0123456789abcdef0123456789abcdefg",
            "0123456789abcdef0123456789abcde!" } )
    {
        folder.Write( "keys/key", text ); // keeps its access
        EXPECT_EQ( ErrorNaming( "key", load ), 1005u );
    }
    folder.Write( "keys/key", "0123456789ABCDEF0123456789abcdef\r\n" );
    load();
}

TEST( XDeploymentKeysTest, FindsTheFolderOfTheUser )
{
    const TestFolder folder;
    SetVariable( "HOME", folder.GetPath().string() );
    SetVariable( "APPDATA", folder.GetPath().string() );
    SetVariable( "KORVALE_KEYS", "" );
    EXPECT_EQ( XDeploymentKeys::GetDefaultFolder(), fs::path() );
    for ( const char* settings : { ".config/korvale/keys", "korvale/keys" } )
        fs::create_directories( folder / settings );
    EXPECT_EQ( XDeploymentKeys::GetDefaultFolder().filename(), "keys" );
    SetVariable( "KORVALE_KEYS", "elsewhere" );
    EXPECT_EQ( XDeploymentKeys::GetDefaultFolder(), fs::path( "elsewhere" ) );
    SetVariable( "KORVALE_KEYS", "" );
}
