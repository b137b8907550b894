// The code of docs/event-loops.md, extracted from it block by block, with stand-ins for what it uses of other libraries.

#include "event-loops-1.inc" // Korvale.h

#include "Messaging/Recorder.h"

#include <csignal>
#include <poll.h>
#include <unistd.h>

namespace LibraryLoop
{

struct Document
{
    Document() {}
};

int main();
#include "event-loops-2.inc"

[[maybe_unused]] static void EndBySignal()
{
#include "event-loops-3.inc"
}

} // namespace LibraryLoop

namespace
{

template<class HandleSocketFunction>
void RunPollLoop( int ownSocket, const bool& isDone, HandleSocketFunction HandleSocket )
{
#include "event-loops-4.inc"
}

void RunEventLoop( const bool& isDone )
{
#include "event-loops-5.inc"
}

// What the loops below use of the toolkits: one round of a loop that polls one descriptor and then is idle.

namespace Toolkit
{

using Function = std::function<void()>;

int sDescriptor = -1;
Function sActivated;
std::vector<Function> sWhenIdle;

void RunOneRound()
{
    pollfd bell{ sDescriptor, POLLIN, 0 };
    if ( poll( &bell, 1, sWhenIdle.empty() ? -1 : 0 ) > 0 )
        return sActivated();
    const std::vector<Function> functions = std::move( sWhenIdle );
    sWhenIdle.clear();
    for ( const Function& function : functions )
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
    static constexpr int Read = 0;
    QSocketNotifier( std::intptr_t inDescriptor, int ) { Toolkit::sDescriptor = int( inDescriptor ); }
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

#include "event-loops-6.inc"

void Connect()
{
    QObject application;
#include "event-loops-7.inc"
}

} // namespace Qt

namespace Gtk
{

using gboolean = int;
using gint = int;
using gpointer = void*;
using GIOCondition = int;
constexpr GIOCondition G_IO_IN = 1;
constexpr gboolean G_SOURCE_REMOVE = 0;
constexpr gboolean G_SOURCE_CONTINUE = 1;

void g_idle_add( gboolean ( *inFunction )( gpointer ), gpointer )
{
    Toolkit::sWhenIdle.push_back( [=] { EXPECT_EQ( inFunction( nullptr ), G_SOURCE_REMOVE ); } );
}
void g_unix_fd_add(
    gint inDescriptor, GIOCondition, gboolean ( *inFunction )( gint, GIOCondition, gpointer ), gpointer )
{
    Toolkit::sDescriptor = inDescriptor;
    Toolkit::sActivated = [=] { EXPECT_EQ( inFunction( 0, G_IO_IN, nullptr ), G_SOURCE_CONTINUE ); };
}

#include "event-loops-8.inc"

void Connect()
{
#include "event-loops-9.inc"
}

} // namespace Gtk

constexpr int kMessages = 300;

/// Hears every message once, whatever queues they came by, and ends the loop.
struct LoopListener : Recorder
{
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
