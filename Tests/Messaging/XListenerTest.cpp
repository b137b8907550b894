#include "Messaging/XListener.h"

#include "Recorder.h"
#include "Threads/Waiting/WEvent.h"

// The ends of listeners, in all orders.

TEST( XListenerTest, SpeakersAndListenersMayDieInAnyOrder )
{
    auto listener = std::make_unique<Recorder>();
    auto first = std::make_unique<XSpeaker>();
    XSpeaker second;
    for ( const XSpeaker* const speaker : { &*first, &second, &second } )
        listener->Subscribe( *speaker );
    first.reset();
    second.SpeakMessage( NumberMessage( 1 ) );
    EXPECT_EQ( listener->heard, Numbers{ 1 } );
    listener.reset();
    EXPECT_EQ( second.GetListenerCount(), 0u );
}

TEST( XListenerTest, DiesInItsOwnHandler )
{
    for ( const auto when : { XSpeaker::kWhenImmediate, XSpeaker::kWhenNextEvent } )
    {
        XSpeaker speaker;
        Recorder before( speaker );
        auto listener = std::make_unique<Recorder>( speaker );
        listener->action = [&]( const XMessage& ) { listener.reset(); };
        Recorder after( speaker );
        speaker.SpeakMessage( NumberMessage( 1 ), when );
        XSpeaker::ProcessAllNextEventMessages();
        EXPECT_FALSE( listener );
        EXPECT_EQ( after.heard, Numbers{ 1 } );
        EXPECT_EQ( speaker.GetListenerCount(), 2u );

        listener = std::make_unique<Recorder>( [&]( const XMessage& ) { listener.reset(); } );
        XSpeaker::PostXMessage( NumberMessage( 2 ), *listener, when );
        if ( listener )
            XSpeaker::PostXMessage( NumberMessage( 3 ), *listener, when );
        XSpeaker::ProcessAllNextEventMessages();
        EXPECT_FALSE( listener );
        EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
    }
}

/// In one of two handlers the listener stops, which waits for the other; in that one it is destroyed then.
TEST( XListenerTest, DiesInOneHandlerWhileItStopsInAnother )
{
    struct Dying : XListener
    {
        explicit Dying( std::function<void( XListener* )> inAction )
            : XListener( true ), itsAction( std::move( inAction ) )
        {
        }
        void HandleMessage( const XMessage& ) override { itsAction( this ); }

    private:
        const std::function<void( XListener* )> itsAction;
    };
    XSpeaker stopping, dying;
    Halt halt;
    const std::thread::id main = std::this_thread::get_id();
    const auto act = [&]( XListener* inListener )
    {
        if ( std::this_thread::get_id() != main )
        {
            halt.AwaitStop();
            halt.GoOn();
            return inListener->StopListening();
        }
        halt.Stop();
        XThread::SleepCurrentThread( 50 ); // so that the other one waits already, as a rule
        delete inListener;
    };
    auto* const listener = new Dying( act );
    listener->Subscribe( stopping );
    listener->Subscribe( dying );
    std::thread stopper( [&] { stopping.SpeakMessage( NumberMessage( 1 ) ); } );
    dying.SpeakMessage( NumberMessage( 2 ) );
    stopper.join();
    EXPECT_EQ( stopping.GetListenerCount() + dying.GetListenerCount(), 0u );
}

TEST( XListenerTest, HearsNoPostOnceItHasStopped )
{
    Recorder listener;
    listener.StopListening();
    for ( const auto when : { XSpeaker::kWhenImmediate, XSpeaker::kWhenNextEvent, XSpeaker::kWhenIdle } )
        XSpeaker::PostXMessage( NumberMessage( 1 ), listener, when );
    EXPECT_TRUE( listener.heard.empty() );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
}

TEST( XListenerTest, CopiesHearNothingUntilTheySubscribe )
{
    XSpeaker speaker;
    Recorder original( speaker, nullptr, true );
    original.SetIsDeaf( typeid( OtherMessage ), true );
    const Recorder copy( original );
    EXPECT_TRUE( copy.IsAsynchronous() );
    EXPECT_TRUE( copy.IsContainedInDeafenedMessages( typeid( OtherMessage ) ) );
    EXPECT_EQ( XSpeaker( speaker ).GetListenerCount(), 0u );
    speaker.SpeakMessage( NumberMessage( 1 ) );
    EXPECT_EQ( original.heard, Numbers{ 1 } );
    EXPECT_TRUE( copy.heard.empty() );
}
