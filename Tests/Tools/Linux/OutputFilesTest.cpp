#include "Outputs/OutputFiles.h"
#include "RefusedMemory.h"
#include "Support/FilePaths.h"
#include "TestFolder.h"

// What becomes of output files where memory ends.

namespace
{

/// While set, the thread gets so many more pieces of memory, and then that many times none.
thread_local long sGiven = -1;
thread_local long sRefused = 0;

} // namespace

bool IsMemoryRefused()
{
    if ( sGiven < 0 )
        return false;
    if ( sGiven > 0 )
        return --sGiven, false;
    return sRefused > 0 && sRefused-- > 0;
}

namespace
{

const auto kWriteNew = []( WFile& ioFile ) { ioFile.WriteAt( 0, "new", 3 ); };

/// Writes both files where memory ends, and sees that both are new, or old and a failure. False once all was given.
bool WriteBoth( long inGiven, long inRefused )
{
    const TestFolder folder;
    std::vector<OutputFile> outputs;
    for ( const auto* name : { "a", "b" } )
        outputs.push_back( { PathToUTF8( folder.Write( name, "old" ) ), kWriteNew } );
    bool hasFailed = false;
    sGiven = inGiven;
    sRefused = inRefused;
    try
    {
        WriteOutputFiles( outputs );
    }
    catch ( ... )
    {
        hasFailed = true;
    }
    const bool isShort = sRefused < inRefused;
    sGiven = -1;
    EXPECT_EQ( folder.Read( "a" ) + folder.Read( "b" ), hasFailed ? "oldold" : "newnew" )
        << inGiven << ", " << inRefused;
    for ( const auto& entry : std::filesystem::directory_iterator( folder.GetPath() ) )
        EXPECT_NE( entry.path().filename().native()[0], '.' ) << inGiven << ", " << inRefused;
    return isShort;
}

void WriteWithEverLess( long inRefused )
{
    long given = 0;
    while ( WriteBoth( given, inRefused ) )
        ++given;
    EXPECT_GT( given, 20 );
}

} // namespace

TEST( OutputFilesTest, FilesTakeTheirPlacesOrNot )
{
    for ( const long refused : { 1, 1000000 } )
        WriteWithEverLess( refused );
}

TEST( OutputFilesTest, FilesThatHaveNamesDoSoToo )
{
    const TestFolder folder;
    std::deque<WReplaceFile> unnamed; // As many as there may be.
    for ( unsigned i = 0; i < WReplaceFile::kMostUnnamed; ++i )
        unnamed.emplace_back( folder / std::to_string( i ) );
    WriteWithEverLess( 1 );
}
