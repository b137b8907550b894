#include "Services/XSessionLogManager.h"

#include "TestFolder.h"

namespace
{

struct XSessionLogManagerTest : testing::Test
{
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
        EXPECT_CONTAINS( text, "\twarning\t" );
        EXPECT_CONTAINS( text, "\t-\tfirst\n\tsecond \xC2\xB5m\n" );
        EXPECT_CONTAINS( text, "\terror\t" );
        EXPECT_CONTAINS( text, "\t1005\tthe stream is corrupted (1005)\n" );
        EXPECT_LACKS( text, "too little" );
        XSessionLogManager::Log( kLogError, "last words" );
    }
    EXPECT_CONTAINS( Read(), "last words\n" );
    XSessionLogManager::Log( kLogError, "nobody hears this" );
}

TEST_F( XSessionLogManagerTest, TakesInternalErrorsAndExceptionsThatEndNowhere )
{
    XSessionLogManager log( itsOptions );
    EXPECT_THROW( KorvaleInternalError( "storage", "file.cpp", 7 ), XInternalException );
    EXPECT_CONTAINS( Read(), "storage in \"file.cpp\" at line 7" ) << "not flushed";
    try
    {
        throw XException( 1021 );
    }
    catch ( ... )
    {
        XErrorLog::AddCurrentException();
    }
    ASSERT_TRUE( log.Flush() );
    EXPECT_CONTAINS( Read(), "\t1021\t" );
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
    EXPECT_CONTAINS( text, "3 entries of the log were lost" );
    EXPECT_CONTAINS( text, "heard\n" );
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
    EXPECT_CONTAINS( Log( log, "first" ), "1 entries of the log were lost" );
    std::filesystem::remove( itsOptions.path );
    const std::string text = Log( log, "second" );
    EXPECT_CONTAINS( text, "second\n" );
    EXPECT_LACKS( text, "first" );
    EXPECT_EQ( log.GetLostCount(), 1u );
}

TEST_F( XSessionLogManagerTest, NeverBlocksAFloodAndCountsEveryEntry )
{
    itsOptions.maxQueuedEntries = 100;
    constexpr int kThreads = 4, kEntries = 2000;
    std::uint64_t lost = 0;
    {
        XSessionLogManager log( itsOptions );
        RunOnThreads(
            kThreads,
            [&]( unsigned )
            {
                for ( int i = 0; i < kEntries; ++i )
                    log.AddEntry( { kLogInformation, "flood" } );
            } );
        ASSERT_TRUE( log.Flush() );
        lost = log.GetLostCount();
    }
    EXPECT_EQ( Count( Read(), "flood" ) + lost, static_cast<std::uint64_t>( kThreads * kEntries ) );
}
