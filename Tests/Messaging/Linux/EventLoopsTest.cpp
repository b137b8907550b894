#include "Korvale.h"

#include "Messaging/Recorder.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <unistd.h>

// The code of docs/event-loops.md, word for word, with stand-ins for what it uses of other libraries.

namespace LibraryLoop
{

struct Document
{
    Document() {}
};

int main();

// clang-format off
int main()
{
    WInitCore core;
    Document document;       // subscribes to its speakers, starts threads and jobs
    return XMainLoop::Run(); // until XMainLoop::RequestEnd( exitCode ) is called
}
// clang-format on

[[maybe_unused]] static void EndBySignal()
{
    std::signal( SIGTERM, []( int ) { XMainLoop::RequestEnd( 0 ); } );
}

} // namespace LibraryLoop

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

// What the loops below use of the toolkits: one round of a loop that polls one descriptor and then is idle.

namespace Toolkit
{

using Function = void ( * )();

int sDescriptor = -1;
Function sActivated = nullptr;
std::vector<Function> sWhenIdle;

void RunOneRound()
{
    pollfd bell{ sDescriptor, POLLIN, 0 };
    if ( poll( &bell, 1, sWhenIdle.empty() ? -1 : 0 ) > 0 )
        return sActivated();
    const std::vector<Function> functions = std::move( sWhenIdle );
    sWhenIdle.clear();
    for ( const Function function : functions )
        function();
}

} // namespace Toolkit

namespace Qt
{

struct QTimer
{
    static void singleShot( int, Toolkit::Function inFunction )
    {
        Toolkit::sWhenIdle.push_back( inFunction );
    }
};
struct QSocketNotifier
{
    enum Type
    {
        Read
    };
    QSocketNotifier( std::intptr_t inDescriptor, Type ) { Toolkit::sDescriptor = int( inDescriptor ); }
    void activated() {}
};
struct QObject
{
    static void
    connect( QSocketNotifier*, void ( QSocketNotifier::* )(), QObject*, Toolkit::Function inFunction )
    {
        Toolkit::sActivated = inFunction;
    }
};

// clang-format off
static void DrainAll()
{
    XSpeaker::ProcessAllNextEventMessages();
    // A timer of no length fires when Qt has handled its own events.
    if ( XSpeaker::IsIdleMessageToProcess() )
        QTimer::singleShot( 0, [] { XSpeaker::ProcessAllIdleMessages(); } );
}

static void Connect()
{
    QObject application;
    QSocketNotifier bell( WMainLoop::GetWaitHandle(), QSocketNotifier::Read );
    QObject::connect( &bell, &QSocketNotifier::activated, &application, DrainAll );
}
// clang-format on

} // namespace Qt

namespace Gtk
{

using gboolean = int;
using gint = int;
using gpointer = void*;
enum GIOCondition
{
    G_IO_IN
};
constexpr gboolean G_SOURCE_REMOVE = 0;
constexpr gboolean G_SOURCE_CONTINUE = 1;

static void g_idle_add( gboolean ( *inFunction )( gpointer ), gpointer )
{
    static gboolean ( *sFunction )( gpointer );
    sFunction = inFunction;
    Toolkit::sWhenIdle.push_back( [] { EXPECT_EQ( sFunction( nullptr ), G_SOURCE_REMOVE ); } );
}
static void g_unix_fd_add(
    gint inDescriptor, GIOCondition, gboolean ( *inFunction )( gint, GIOCondition, gpointer ), gpointer )
{
    static gboolean ( *sFunction )( gint, GIOCondition, gpointer );
    sFunction = inFunction;
    Toolkit::sDescriptor = inDescriptor;
    Toolkit::sActivated = [] { EXPECT_EQ( sFunction( 0, G_IO_IN, nullptr ), G_SOURCE_CONTINUE ); };
}

// clang-format off
static gboolean ProcessIdle( gpointer )
{
    XSpeaker::ProcessAllIdleMessages();
    return G_SOURCE_REMOVE;
}

static gboolean DrainAll( gint, GIOCondition, gpointer )
{
    XSpeaker::ProcessAllNextEventMessages();
    if ( XSpeaker::IsIdleMessageToProcess() )
        g_idle_add( ProcessIdle, nullptr );
    return G_SOURCE_CONTINUE;
}

static void Connect()
{
    g_unix_fd_add( int( WMainLoop::GetWaitHandle() ), G_IO_IN, DrainAll, nullptr );
}
// clang-format on

} // namespace Gtk

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
class LoopListener : public Recorder
{
public:
    explicit LoopListener( const XSpeaker& inSpeaker )
        : Recorder( inSpeaker, [this]( const XMessage& ) { isDone = heard.size() == kMessages; } )
    {
    }

    bool isDone = false;
};

void SpeakFromWorker( XSpeaker& ioSpeaker )
{
    for ( int number = 1; number <= kMessages; ++number )
        ioSpeaker.SpeakMessage(
            NumberMessage( number ), number % 3 == 0 ? XSpeaker::kWhenIdle : XSpeaker::kWhenDefault );
}

} // namespace

TEST( EventLoopsTest, TheLoopsInTheDocumentAreTheseHere )
{
    const std::vector<std::string> document = ReadLines( "docs/event-loops.md" );
    const std::vector<std::string> source = ReadLines( "Tests/Messaging/Linux/EventLoopsTest.cpp" );
    int blocks = 0;
    const auto end = document.end();
    for ( auto block = document.begin(); ( block = std::find( block, end, "```cpp" ) ) != end; ++blocks )
    {
        const auto blockEnd = std::find( ++block, end, "```" );
        const auto found = std::search( source.begin(), source.end(), block, blockEnd );
        EXPECT_NE( found, source.end() ) << *block;
        block = blockEnd;
    }
    EXPECT_EQ( blocks, 9 );
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

TEST( EventLoopsTest, TheLoopsOfToolkitsServeBothQueues )
{
    for ( const auto connect : { Qt::Connect, Gtk::Connect } )
    {
        connect();
        XSpeaker speaker;
        LoopListener listener( speaker );
        std::thread worker( [&] { SpeakFromWorker( speaker ); } );
        while ( !listener.isDone )
            Toolkit::RunOneRound();
        worker.join();
        EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
    }
}
