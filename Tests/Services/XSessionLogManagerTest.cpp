#include "Services/XSessionLogManager.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <thread>

namespace
{

class XSessionLogManagerTest : public testing::Test
{
protected:
    XSessionLogManagerTest()
    {
        itsFolder = std::filesystem::temp_directory_path() / ( "korvale-log-" + UniqueName() );
        itsOptions.path = itsFolder / "deep" / "session.log";
    }
    ~XSessionLogManagerTest() override { std::filesystem::remove_all( itsFolder ); }

    static std::string UniqueName()
    {
        return std::to_string( XTime::Now().GetMicroSeconds() ) +
            testing::UnitTest::GetInstance()->current_test_info()->name();
    }

    static std::string Read( const std::filesystem::path& inPath )
    {
        std::ifstream file( inPath, std::ios::binary );
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    std::string Read() const { return Read( itsOptions.path ); }

    static std::size_t Count( const std::string& inText, const std::string& inWhat )
    {
        std::size_t count = 0;
        for ( auto at = inText.find( inWhat ); at != std::string::npos; at = inText.find( inWhat, at + 1 ) )
            ++count;
        return count;
    }

    std::filesystem::path itsFolder;
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
    const XString entry( std::string( 600, 'x' ) );
    XSessionLogManager log( itsOptions );
    for ( int i = 0; i < 9; ++i )
    {
        log.AddEntry( { kLogInformation, entry } );
        ASSERT_TRUE( log.Flush() );
    }
    auto path = itsOptions.path;
    EXPECT_EQ( Count( Read(), "information" ), 1u );
    EXPECT_EQ( Count( Read( path += ".1" ), "information" ), 2u );
    EXPECT_EQ( Count( Read( itsOptions.path.string() + ".2" ), "information" ), 2u );
    EXPECT_FALSE( std::filesystem::exists( itsOptions.path.string() + ".3" ) );
}

TEST_F( XSessionLogManagerTest, GoesOnWithoutItsFileAndTellsWhatWasLost )
{
    // A file stands where the folder should be.
    std::filesystem::create_directories( itsFolder );
    std::ofstream( itsFolder / "deep" ) << "in the way";
    XSessionLogManager log( itsOptions );
    for ( int i = 0; i < 3; ++i )
        log.AddEntry( { kLogInformation, "unheard" } );
    ASSERT_TRUE( log.Flush() );
    EXPECT_EQ( log.GetLostCount(), 3u );

    std::filesystem::remove( itsFolder / "deep" );
    log.AddEntry( { kLogInformation, "heard" } );
    ASSERT_TRUE( log.Flush() );
    EXPECT_NE( Read().find( "3 entries of the log were lost" ), std::string::npos );
    EXPECT_NE( Read().find( "heard" ), std::string::npos );
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
