#include "Files/WReplaceFile.h"
#include "TestFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

/// A descriptor with its name in the file system.
struct Descriptor
{
    explicit Descriptor( int inNumber ) : number( inNumber ) {}
    Descriptor( const Descriptor& ) = delete;
    Descriptor& operator=( const Descriptor& ) = delete;
    ~Descriptor() { close( number ); }
    void Write( const char* inText ) const { EXPECT_EQ( write( number, inText, 1 ), 1 ); }

    const int number;
    const std::string name = "/dev/fd/" + std::to_string( number );
};

void Replace( const std::filesystem::path& inTarget )
{
    WReplaceFile::CheckTarget( inTarget );
    WReplaceFile file( inTarget );
    file.GetFile().WriteAt( 0, "ne", 2 );
    file.GetFile().WriteAt( 2, "w", 1 );
    file.Commit();
}

} // namespace

TEST( WFileLinuxTest, NamesOfDescriptorsAreWrittenOn )
{
    const TestFolder folder;
    for ( const int mode : { O_TRUNC, O_APPEND } )
    {
        const Descriptor file( open( folder.Write( "file", "x" ).c_str(), O_WRONLY | mode ) );
        std::filesystem::remove( folder / "link" );
        std::filesystem::create_symlink( file.name, folder / "link" );
        file.Write( "1" );
        for ( const auto& name :
              { file.name, "/proc/self/fd/" + std::to_string( file.number ), ( folder / "link" ).string() } )
            Replace( name );
        file.Write( "2" );
        EXPECT_EQ( folder.Read( "file" ), ( mode == O_APPEND ? "x" : "" ) + std::string( "1newnewnew2" ) );
        EXPECT_ERROR( 132, WFile( file.name, WFile::kCreate ).WriteAt( 1, "x", 1 ) );
        EXPECT_EQ( folder.CountEntries(), 2u );
    }
    const Descriptor input( open( ( folder / "file" ).c_str(), O_RDONLY ) );
    EXPECT_ERROR( 6, WReplaceFile::CheckTarget( input.name ) );
}

TEST( WFileLinuxTest, PipesWithoutReadersAreNotWaitedFor )
{
    const TestFolder folder;
    const auto pipe = folder / "pipe";
    ASSERT_EQ( mkfifo( pipe.c_str(), 0600 ), 0 );
    EXPECT_ERROR( 233, Replace( pipe ) );
    const Descriptor reader( open( pipe.c_str(), O_RDONLY | O_NONBLOCK ) );
    Replace( pipe );
    char text[4] = {};
    EXPECT_EQ( read( reader.number, text, 4 ), 3 );
    EXPECT_STREQ( text, "new" );
}
