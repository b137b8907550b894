#include "Messaging/Recorder.h"
#include "Threads/Waiting/WEvent.h"

#include <barrier>
#include <fstream>
#include <malloc.h>
#include <sys/syscall.h>
#include <unistd.h>

// Speakers and listeners end while other threads are in calls that concern them.

namespace
{

/// Calls a function within the call that queues it.
struct HookedMessage : XMessage
{
    using Hook = std::function<void()>;

    HookedMessage( XSpeaker* inSpeaker, Hook inHook ) : XMessage( inSpeaker ), hook( std::move( inHook ) ) {}
    HookedMessage* Clone() const override
    {
        hook();
        return new HookedMessage( *this );
    }

    Hook hook;
};

/// A thread that runs a function which takes no lock but the one to wait for.
struct Caller
{
    explicit Caller( std::function<void()> inCall )
        : itsThread(
              [this, inCall]
              {
                  itsID = static_cast<int>( syscall( SYS_gettid ) );
                  inCall();
                  itsHasReturned = true;
              } )
    {
    }
    ~Caller() { itsThread.join(); }

    /// Returns when the thread sleeps, or false when its function has returned instead.
    bool WaitUntilItSleeps() const
    {
        while ( !itsHasReturned )
        {
            if ( itsID != 0 && GetState() == 'S' )
                return true;
            std::this_thread::yield();
        }
        return false;
    }

    void WaitUntilItReturns() const
    {
        while ( !itsHasReturned )
            std::this_thread::yield();
    }

private:
    char GetState() const
    {
        std::ifstream file( "/proc/self/task/" + std::to_string( itsID ) + "/stat" );
        std::string line;
        std::getline( file, line );
        const std::size_t end = line.rfind( ')' );
        return end == std::string::npos ? '?' : line[end + 2];
    }

    std::atomic<bool> itsHasReturned = false;
    std::atomic<int> itsID = 0;
    std::thread itsThread;
};

constexpr auto kNext = XSpeaker::kWhenNextEvent;
constexpr auto kNow = XSpeaker::kWhenImmediate;

} // namespace

TEST( XSpeakerLifetimeTest, QueuesNothingForThoseWhoEndMeanwhile )
{
    enum Call
    {
        kPostToDyingListener,
        kPostOfDyingSpeaker,
        kSpeakOfDyingSpeaker
    };
    for ( const Call call : { kPostToDyingListener, kPostOfDyingSpeaker, kSpeakOfDyingSpeaker } )
    {
        auto speaker = std::make_unique<XSpeaker>();
        auto listener = std::make_unique<Recorder>( *speaker );
        Halt halt;
        const HookedMessage message( speaker.get(), [&] { halt.Stop(); } );
        {
            const Caller sender(
                [&, to = listener.get(), from = speaker.get()]
                {
                    if ( call == kSpeakOfDyingSpeaker )
                        from->SpeakMessage( message, kNext );
                    else
                        XSpeaker::PostXMessage( message, *to, kNext );
                } );
            halt.AwaitStop();
            const Caller ender(
                [&]
                {
                    if ( call == kPostToDyingListener )
                        listener.reset();
                    else
                        speaker.reset();
                } );
            if ( call == kSpeakOfDyingSpeaker ) // this call is not waited for
                ender.WaitUntilItReturns();
            else
                EXPECT_TRUE( ender.WaitUntilItSleeps() );
            halt.GoOn();
        }
        EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
        XSpeaker::ProcessAllNextEventMessages();
        EXPECT_TRUE( !listener || listener->heard.empty() );
    }
}

TEST( XSpeakerLifetimeTest, ASpeakersEndWaitsForHandlersOfPostsThatNameIt )
{
    auto speaker = std::make_unique<XSpeaker>();
    Halt halt;
    Recorder listener( [&]( const XMessage& ) { halt.Stop(); }, true );
    const Caller sender( [&, message = NumberMessage( 1, speaker.get() )]
                         { XSpeaker::PostXMessage( message, listener ); } );
    halt.AwaitStop();
    {
        const Caller ender( [&] { speaker.reset(); } );
        EXPECT_TRUE( ender.WaitUntilItSleeps() );
        halt.GoOn();
    }
    EXPECT_EQ( listener.heard, Numbers{ 1 } );

    // Who ends the speaker in the handler itself does not wait for it.
    speaker = std::make_unique<XSpeaker>();
    listener.action = [&]( const XMessage& ) { speaker.reset(); };
    XSpeaker::PostXMessage( NumberMessage( 2, speaker.get() ), listener, kNow );
    EXPECT_FALSE( speaker );
}

TEST( XSpeakerLifetimeTest, AListenersEndWaitsForPostsThatWaitForTheQueues )
{
    XSpeaker speaker;
    speaker.SpeakMessage( NumberMessage( 1 ), kNext );
    auto listener = std::make_unique<Recorder>();
    Halt halt;
    const auto withdraws = [&]( const XSpeaker::XDeferredMessageRecord& )
    {
        halt.Stop();
        return true;
    };
    {
        const Caller holder( [&] { XSpeaker::RemoveFromDelayedQueue( kNext, withdraws ); } );
        halt.AwaitStop();
        const Caller sender( [&, to = listener.get()]
                             { XSpeaker::PostXMessage( NumberMessage( 2 ), *to, kNext ); } );
        EXPECT_TRUE( sender.WaitUntilItSleeps() );
        const Caller ender( [&] { listener.reset(); } );
        EXPECT_TRUE( ender.WaitUntilItSleeps() );
        halt.GoOn();
    }
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
}

TEST( XSpeakerLifetimeTest, StopsWaitForHandlersThatHaveStoppedTheSame )
{
    enum Way
    {
        kSpokenToListener,
        kSpokenAndUnsubscribed,
        kSpokenAndRemoved,
        kPostedToListener,
        kPostedOfSpeaker
    };
    for ( const Way way :
          { kSpokenToListener, kSpokenAndUnsubscribed, kSpokenAndRemoved, kPostedToListener,
            kPostedOfSpeaker } )
    {
        XSpeaker speaker;
        Halt halt;
        Recorder listener( nullptr, true );
        const auto stop = [&]
        { way == kPostedOfSpeaker ? speaker.StopSpeaking() : listener.StopListening(); };
        listener.action = [&]( const XMessage& )
        {
            if ( way == kSpokenAndUnsubscribed )
                listener.Unsubscribe( speaker );
            else if ( way == kSpokenAndRemoved )
                speaker.RemoveAllListeners();
            else
                stop();
            halt.Stop();
        };
        listener.Subscribe( speaker );
        const NumberMessage message( 1, &speaker );
        const auto send = [&]
        {
            if ( way < kPostedToListener )
                speaker.SpeakMessage( message, kNow );
            else
                XSpeaker::PostXMessage( message, listener, kNow );
        };
        const Caller sender( send );
        halt.AwaitStop();
        const Caller first( stop );
        const Caller second( stop );
        EXPECT_TRUE( first.WaitUntilItSleeps() );
        EXPECT_TRUE( second.WaitUntilItSleeps() );
        halt.GoOn();
    }
}

TEST( XSpeakerLifetimeTest, HandlersThatStopTheSameDoNotWaitForEachOther )
{
    struct Stopper : XListener
    {
        Stopper() : XListener( true ) {}
        ~Stopper() override { StopListening(); }
        void HandleMessage( const XMessage& ) override
        {
            areBothIn.arrive_and_wait();
            StopListening();
        }
        std::barrier<> areBothIn{ 2 };
    };
    for ( const unsigned posted : { 0, 1, 2 } )
    {
        std::array<XSpeaker, 2> speakers;
        Stopper stopper;
        std::deque<Caller> callers;
        for ( XSpeaker& speaker : speakers )
        {
            stopper.Subscribe( speaker );
            if ( callers.size() < posted )
                callers.emplace_back( [&] { XSpeaker::PostXMessage( NumberMessage( 1 ), stopper ); } );
            else
                callers.emplace_back( [&] { speaker.SpeakMessage( NumberMessage( 1 ), kNow ); } );
        }
    }
}

/// A handler is passed over only while its own stop lasts.
TEST( XSpeakerLifetimeTest, AStopInAHandlerWaitsForOneThatHasStoppedBefore )
{
    std::array<XSpeaker, 2> speakers;
    Halt halt;
    Recorder listener( nullptr, true );
    listener.action = [&]( const XMessage& inMessage )
    {
        listener.StopListening();
        if ( dynamic_cast<const NumberMessage&>( inMessage ).number == 1 )
            halt.Stop();
    };
    listener.Subscribe( speakers[0] );
    const Caller first( [&] { speakers[0].SpeakMessage( NumberMessage( 1 ), kNow ); } );
    halt.AwaitStop();
    listener.Subscribe( speakers[1] );
    const Caller second( [&] { speakers[1].SpeakMessage( NumberMessage( 2 ), kNow ); } );
    EXPECT_TRUE( second.WaitUntilItSleeps() );
    halt.GoOn();
}

TEST( XSpeakerLifetimeTest, SubscriptionsThatComeAndGoTakeNoMemory )
{
    const auto countBytes = []
    {
        const auto info = mallinfo2();
        return info.uordblks + info.hblkhd;
    };
    XSpeaker speaker;
    std::deque<Recorder> many;
    for ( int listener = 0; listener < 100; ++listener )
        many.emplace_back( speaker );
    const std::size_t before = countBytes();
    for ( int round = 0; round < 50'000; ++round )
    {
        many.front().Unsubscribe( speaker );
        many.front().Subscribe( speaker );
    }
    EXPECT_LT( countBytes(), before + 100'000 ); // 800 KB, if their nodes stayed
}

TEST( XSpeakerLifetimeTest, EndsWhileCallsWaitForTheSpeakersMutex )
{
    for ( const bool endsInHandler : { false, true } )
    {
        auto speaker = std::make_unique<XSpeaker>();
        XSpeaker* const spoken = speaker.get();
        Halt halt;
        Recorder listener(
            *speaker,
            [&]( const XMessage& )
            {
                halt.Stop();
                if ( endsInHandler )
                    speaker.reset();
            } );
        Recorder late;
        const Caller first( [&] { spoken->SpeakMessage( NumberMessage( 1 ), kNow ); } );
        halt.AwaitStop();
        const std::array<std::function<void()>, 5> calls{
            [&] { spoken->SpeakMessage( OtherMessage(), kNow ); }, [&] { late.Subscribe( *spoken ); },
            [&] { late.Unsubscribe( *spoken ); }, [&] { spoken->RemoveAllListeners(); },
            [&] { spoken->GetListenerCount(); } };
        std::deque<Caller> callers;
        for ( const auto& call : calls )
            callers.emplace_back( call ).WaitUntilItSleeps();
        Recorder other;
        callers.emplace_back( [&] { spoken->HardUnsubscribeListener( other ); } ).WaitUntilItSleeps();
        if ( !endsInHandler )
            callers.emplace_back( [&] { speaker.reset(); } ).WaitUntilItSleeps();
        halt.GoOn();
        callers.clear();
        EXPECT_FALSE( speaker );
        XSpeaker::ProcessAllNextEventMessages();
        EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
    }
}
