#include "Korvale.h"

#include "Messaging/Recorder.h"

#include <filesystem>
#include <fstream>
#include <poll.h>
#include <unistd.h>

// The loops of docs/event-loops.md, word for word.

namespace
{

// clang-format off
template<class HandleSocketFunction>
void RunPollLoop( int ownSocket, const bool& isDone, HandleSocketFunction HandleSocket )
{
    pollfd handles[] = { { int( WMainLoop::GetWaitHandle() ), POLLIN, 0 }, { ownSocket, POLLIN, 0 } };
    bool mayBeIdle = false; // the idle queue may hold messages
    while ( !isDone )
    {
        const int readyCount = poll( handles, 2, mayBeIdle ? 0 : -1 );
        if ( readyCount == 0 )
            mayBeIdle = XSpeaker::ProcessAllIdleMessages();
        if ( readyCount <= 0 )
            continue;
        if ( handles[1].revents )
            HandleSocket();
        if ( handles[0].revents )
        {
            XSpeaker::ProcessAllNextEventMessages();
            mayBeIdle = true;
        }
    }
}

void RunEventLoop( const bool& isDone )
{
    while ( !isDone )
    {
        if ( !XSpeaker::IsNextEventMessageToProcess() )
            XSpeaker::GetMsgInNextEventQueueEvent().Wait();
        XSpeaker::ProcessAllNextEventMessages();
    }
}
// clang-format on

} // namespace

namespace
{

constexpr int kMessages = 300;

/// The lines of a file without their indentation, blank ones left out.
std::vector<std::string> ReadLines( const std::string& inName )
{
    std::ifstream file( std::filesystem::path( KORVALE_SOURCE_DIR ) / inName );
    EXPECT_TRUE( file ) << inName;
    std::vector<std::string> lines;
    for ( std::string line; std::getline( file, line ); )
    {
        line.erase( 0, line.find_first_not_of( ' ' ) );
        if ( line.starts_with( "static " ) )
            line.erase( 0, 7 );
        if ( !line.empty() )
            lines.push_back( line );
    }
    return lines;
}

/// Hears every message once, whatever queues they came by, and ends the loop.
struct LoopListener : Recorder
{
    explicit LoopListener( const XSpeaker& inSpeaker )
        : Recorder( inSpeaker, [this]( const XMessage& ) { isDone = heard.size() == kMessages; } )
    {
    }

    bool isDone = false;
};

} // namespace

TEST( EventLoopsTest, TheLoopsInTheDocumentAreTheseHere )
{
    const std::vector<std::string> document = ReadLines( "docs/event-loops.md" );
    const std::vector<std::string> source = ReadLines( "Tests/Messaging/Linux/EventLoopsTest.cpp" );
    int blocks = 0;
    const auto end = document.end();
    for ( auto block = document.begin(); ( block = std::find( block, end, "```cpp" ) ) != end; )
    {
        const auto blockEnd = std::find( ++block, end, "```" );
        blocks += std::search( source.begin(), source.end(), block, blockEnd ) != source.end();
        block = blockEnd;
    }
    EXPECT_EQ( blocks, 3 ); // the others are the library's loop and those of toolkits
}

TEST( EventLoopsTest, ThePollLoopServesIdleMessagesBesideABusySocket )
{
    int pipeEnds[2];
    ASSERT_EQ( pipe( pipeEnds ), 0 );
    XSpeaker speaker;
    LoopListener listener( speaker );
    int reads = 0;
    const auto write = [&] { return ::write( pipeEnds[1], "x", 1 ); };
    const auto readAndSpeak = [&]
    {
        char byte;
        EXPECT_EQ( read( pipeEnds[0], &byte, 1 ), 1 );
        speaker.SpeakMessage( NumberMessage( ++reads ), XSpeaker::kWhenIdle );
        if ( reads < kMessages )
        {
            EXPECT_EQ( write(), 1 );
        }
    };
    EXPECT_EQ( write(), 1 );
    RunPollLoop( pipeEnds[0], listener.isDone, readAndSpeak );
    EXPECT_EQ( reads, kMessages );
    close( pipeEnds[0] );
    close( pipeEnds[1] );
}

TEST( EventLoopsTest, TheEventLoopGoesOnWithWhatHandlersQueue )
{
    XSpeaker speaker;
    LoopListener listener( speaker );
    Recorder relay(
        speaker,
        [&]( const XMessage& )
        {
            const auto count = static_cast<int>( relay.heard.size() );
            if ( count < kMessages )
                speaker.SpeakMessage( NumberMessage( count + 1 ), XSpeaker::kWhenNextEvent );
        } );
    speaker.SpeakMessage( NumberMessage( 1 ), XSpeaker::kWhenNextEvent );
    RunEventLoop( listener.isDone );
}
