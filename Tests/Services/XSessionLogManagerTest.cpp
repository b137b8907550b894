#include "Services/XSessionLogManager.h"

#include "TestFolder.h"
#include "Testing.h"

namespace
{

class XSessionLogManagerTest : public testing::Test
{
protected:
    XSessionLogManagerTest() { itsOptions.path = itsFolder / "deep/session.log"; }

    std::string Read( const std::string& inSuffix = "" ) const
    {
        return itsFolder.Read( "deep/session.log" + inSuffix );
    }

    /// Adds an entry and returns the file when it is written or lost.
    std::string Log( XSessionLogManager& ioLog, const char* inText ) const
    {
        ioLog.AddEntry( { kLogInformation, inText } );
        EXPECT_TRUE( ioLog.Flush() );
        return Read();
    }

    static std::size_t Count( const std::string& inText, const std::string& inWhat )
    {
        std::size_t count = 0;
        for ( auto at = inText.find( inWhat ); at != std::string::npos; at = inText.find( inWhat, at + 1 ) )
            ++count;
        return count;
    }

    TestFolder itsFolder;
    XSessionLogManager::XOptions itsOptions;
};

} // namespace

TEST_F( XSessionLogManagerTest, WritesOneLineAnEntryAndIndentsTheRest )
{
    itsOptions.leastLevel = kLogWarning;
    {
        XSessionLogManager log( itsOptions );
        XSessionLogManager::Log( kLogInformation, "too little" );
        XSessionLogManager::Log( kLogWarning, "first\r\nsecond \xB5m" );
        log.AddException( XException( 1005 ) );
        ASSERT_TRUE( log.Flush() );
        const std::string text = Read();
        EXPECT_NE( text.find( "\twarning\t" ), std::string::npos );
        EXPECT_NE( text.find( "\t-\tfirst\n\tsecond \xC2\xB5m\n" ), std::string::npos ) << text;
        EXPECT_NE( text.find( "\terror\t" ), std::string::npos );
        EXPECT_NE( text.find( "\t1005\tthe stream is corrupted (1005)\n" ), std::string::npos );
        EXPECT_EQ( text.find( "too little" ), std::string::npos );
        XSessionLogManager::Log( kLogError, "last words" );
    }
    EXPECT_NE( Read().find( "last words\n" ), std::string::npos );
    XSessionLogManager::Log( kLogError, "nobody hears this" );
}

TEST_F( XSessionLogManagerTest, TakesInternalErrorsAndExceptionsThatEndNowhere )
{
    XSessionLogManager log( itsOptions );
    EXPECT_THROW( KorvaleInternalError( "storage", "file.cpp", 7 ), XInternalException );
    EXPECT_NE( Read().find( "storage in \"file.cpp\" at line 7" ), std::string::npos ) << "not flushed";
    try
    {
        throw XException( 1021 );
    }
    catch ( ... )
    {
        XErrorLog::AddCurrentException();
    }
    ASSERT_TRUE( log.Flush() );
    EXPECT_NE( Read().find( "\t1021\t" ), std::string::npos );
}

TEST_F( XSessionLogManagerTest, RenamesFilesThatHaveGrown )
{
    itsOptions.maxFileBytes = 1000;
    itsOptions.oldFiles = 2;
    XSessionLogManager log( itsOptions );
    for ( int i = 0; i < 9; ++i )
        Log( log, std::string( 600, 'x' ).c_str() );
    EXPECT_EQ( Count( Read(), "information" ), 1u );
    EXPECT_EQ( Count( Read( ".1" ), "information" ), 2u );
    EXPECT_EQ( Count( Read( ".2" ), "information" ), 2u );
    EXPECT_FALSE( std::filesystem::exists( itsFolder / "deep/session.log.3" ) );
}

TEST_F( XSessionLogManagerTest, GoesOnWithoutItsFolderAndTellsWhatWasLost )
{
    itsFolder.Write( "deep", "a file where the folder should be" );
    XSessionLogManager log( itsOptions );
    for ( int i = 0; i < 3; ++i )
        Log( log, "unheard" );
    EXPECT_EQ( log.GetLostCount(), 3u );

    std::filesystem::remove( itsFolder / "deep" );
    const std::string text = Log( log, "heard" );
    EXPECT_NE( text.find( "3 entries of the log were lost" ), std::string::npos );
    EXPECT_NE( text.find( "heard\n" ), std::string::npos );
}

TEST_F( XSessionLogManagerTest, GoesOnWhenTheDiskIsFullAndWhenItsFileIsRemoved )
{
    if ( !HasFullDevice() )
        GTEST_SKIP() << "no full device";
    std::filesystem::create_directories( itsFolder / "deep" );
    std::filesystem::create_symlink( kFullDevice, itsOptions.path );
    XSessionLogManager log( itsOptions );
    log.AddEntry( { kLogError, "unheard" } );
    ASSERT_TRUE( log.Flush() );
    EXPECT_EQ( log.GetLostCount(), 1u );

    std::filesystem::remove( itsOptions.path );
    EXPECT_NE( Log( log, "first" ).find( "1 entries of the log were lost" ), std::string::npos );
    std::filesystem::remove( itsOptions.path );
    const std::string text = Log( log, "second" );
    EXPECT_NE( text.find( "second\n" ), std::string::npos );
    EXPECT_EQ( text.find( "first" ), std::string::npos );
    EXPECT_EQ( log.GetLostCount(), 1u );
}

TEST_F( XSessionLogManagerTest, NeverBlocksAFloodAndCountsEveryEntry )
{
    itsOptions.maxQueuedEntries = 100;
    constexpr int kThreads = 4, kEntries = 2000;
    std::uint64_t lost = 0;
    {
        XSessionLogManager log( itsOptions );
        std::vector<std::thread> threads;
        for ( int t = 0; t < kThreads; ++t )
            threads.emplace_back(
                [&log]
                {
                    for ( int i = 0; i < kEntries; ++i )
                        log.AddEntry( { kLogInformation, "flood" } );
                } );
        for ( auto& thread : threads )
            thread.join();
        ASSERT_TRUE( log.Flush() );
        lost = log.GetLostCount();
    }
    EXPECT_EQ( Count( Read(), "flood" ) + lost, static_cast<std::uint64_t>( kThreads * kEntries ) );
}
