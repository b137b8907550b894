#include "Messaging/XMainLoop.h"

#include "Core/Errors/XInternalException.h"
#include "Messaging/XAppClosingMessage.h"
#include "Messaging/XAppInitialisedMessage.h"
#include "Messaging/XAppMessageCentre.h"
#include "Process/WMainLoop.h"
#include "Recorder.h"

#include <csignal>

TEST( XMainLoopTest, RunsFromTheFirstMessageToTheLast )
{
    std::string events;
    Recorder centreListener(
        XAppMessageCentre::GetAppMessageCentre(),
        [&]( const XMessage& inMessage )
        { events += typeid( inMessage ) == typeid( XAppInitialisedMessage ) ? "open " : "close "; } );
    XSpeaker speaker;
    std::thread worker;
    Recorder listener(
        speaker,
        [&]( const XMessage& inMessage )
        {
            switch ( dynamic_cast<const NumberMessage&>( inMessage ).number )
            {
            case 1: // queues behind what is there, and idle work behind that
                speaker.SpeakMessage( NumberMessage( 3 ), XSpeaker::kWhenIdle );
                return speaker.SpeakMessage( NumberMessage( 2 ), XSpeaker::kWhenNextEvent );
            case 3: // the loop falls asleep and is woken from elsewhere
                worker = std::thread( [&] { speaker.SpeakMessage( NumberMessage( 4 ) ); } );
                return;
            case 4:
                XMainLoop::RequestEnd( 7 );
                return XMainLoop::RequestEnd( 8 );
            default:
                return;
            }
        } );
    speaker.SpeakMessage( NumberMessage( 1 ), XSpeaker::kWhenNextEvent );
    EXPECT_EQ( XMainLoop::Run(), 7 );
    worker.join();
    EXPECT_EQ( listener.heard, ( Numbers{ 1, 2, 3, 4 } ) );
    EXPECT_EQ( events, "open close " );
}

TEST( XMainLoopTest, EndsOnRequestsOfOtherThreadsAndOfSignalHandlers )
{
    std::thread worker( [] { XMainLoop::RequestEnd( 1 ); } );
    EXPECT_EQ( XMainLoop::Run(), 1 );
    worker.join();

    const auto previous = std::signal( SIGINT, []( int ) { XMainLoop::RequestEnd( 130 ); } );
    XSpeaker speaker;
    Recorder listener( speaker, []( const XMessage& ) { std::raise( SIGINT ); } );
    speaker.SpeakMessage( NumberMessage( 1 ), XSpeaker::kWhenIdle );
    EXPECT_EQ( XMainLoop::Run(), 130 );
    std::signal( SIGINT, previous );

    OnWorker( [] { EXPECT_THROW( XMainLoop::Run(), XInternalException ); } );
}

TEST( XMainLoopTest, ARequestThatTheWorkSilencesIsHeard )
{
    const auto requestAndSilence = []
    {
        XMainLoop::RequestEnd( 3 );
        WMainLoop::ClearWake();
    };
    EXPECT_EQ( WMainLoop::Run( { requestAndSilence, [] { return false; } } ), 3 );
}

/// What a program with a loop of its own does, with one handle to wait for.
TEST( XMainLoopTest, AForeignLoopDrivesTheQueues )
{
    constexpr int kMessages = 1000;
    XSpeaker speaker;
    Recorder listener( speaker );
    std::thread worker(
        [&]
        {
            for ( int number = 1; number <= kMessages; ++number )
                speaker.SpeakMessage(
                    NumberMessage( number ), number % 3 == 0 ? XSpeaker::kWhenIdle : XSpeaker::kWhenDefault );
        } );
    const auto handle = WMainLoop::GetWaitHandle(); // perhaps after messages were queued
    while ( listener.heard.size() < std::size_t( kMessages ) )
    {
        ASSERT_TRUE( WMainLoop::WaitForHandle( handle, 60000 ) ) << listener.heard.size();
        XSpeaker::ProcessAllNextEventMessages();
        if ( !WMainLoop::WaitForHandle( handle, 0 ) )
            XSpeaker::ProcessAllIdleMessages();
    }
    worker.join();
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
}

TEST( XMainLoopTest, PeriodicWorkRunsWithoutMessagesAndBetweenMessagesThatNeverEnd )
{
    int calls = 0;
    const auto endWithTheThird = [&]
    {
        if ( ++calls % 3 == 0 )
            XMainLoop::RequestEnd( calls );
    };
    EXPECT_EQ( XMainLoop::Run( endWithTheThird, 1 ), 3 );

    XSpeaker speaker;
    Recorder listener(
        speaker,
        [&]( const XMessage& inMessage ) { speaker.SpeakMessage( inMessage, XSpeaker::kWhenNextEvent ); } );
    speaker.SpeakMessage( NumberMessage( 1 ), XSpeaker::kWhenNextEvent );
    EXPECT_EQ( XMainLoop::Run( endWithTheThird, 1 ), 6 );
}
