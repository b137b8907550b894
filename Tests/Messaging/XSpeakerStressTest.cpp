#include "Core/Times/XTimer.h"
#include "Messaging/XMessageVoid.h"
#include "Recorder.h"

#include <shared_mutex>

// Eight threads make, destroy, subscribe, mute and deafen speakers and listeners, speak and post, while the
// main thread drains. No listener may hear a message twice, nor anything once its end has begun.

namespace
{

constexpr int kThreads = 8;
constexpr int kSteps = 1500;
constexpr unsigned kSubscribe = 9; // of the actions

std::atomic<int> sNextNumber = 1;
std::atomic<int> sHeard = 0;
std::atomic<int> sHeardTwice = 0;
std::atomic<int> sHeardWhenDead = 0;

struct StressListener : XListener
{
    explicit StressListener( bool inIsAsynchronous ) : XListener( inIsAsynchronous ) {}
    ~StressListener() override
    {
        StopListening();
        itsIsDead = true;
    }
    void HandleMessage( const XMessage& inMessage ) override
    {
        if ( itsIsDead )
            ++sHeardWhenDead;
        const std::lock_guard lock( itsMutex );
        ++sHeard;
        if ( !itsHeard.insert( dynamic_cast<const NumberMessage&>( inMessage ).number ).second )
            ++sHeardTwice;
    }

private:
    std::atomic<bool> itsIsDead = false;
    std::mutex itsMutex;
    std::set<int> itsHeard;
};

/// An object that threads use under a shared lock, so that it exists at least when they begin.
template<class T>
struct Slot
{
    std::shared_mutex mutex;
    std::unique_ptr<T> object;
};

using Random = std::minstd_rand;

struct Stress
{
    /// Where there are many of one kind, few are made anew, so that subscriptions pile up.
    Stress( std::size_t inSpeakers, std::size_t inListeners )
        : speakers( inSpeakers ), listeners( inListeners ),
          subscriptionsPerEnd( std::max( inSpeakers, inListeners ) / 8 )
    {
    }

    void Work( unsigned inSeed )
    {
        Random random( inSeed + 1 );
        for ( int step = 0; step < kSteps; ++step )
            Step( random );
    }

private:
    void Step( Random& ioRandom )
    {
        Slot<XSpeaker>& speaker = speakers[ioRandom() % speakers.size()];
        Slot<StressListener>& listener = listeners[ioRandom() % listeners.size()];
        auto action = static_cast<unsigned>( ioRandom() >> 8 ) % 16;
        if ( action <= 2 && ioRandom() % subscriptionsPerEnd != 0 )
            action = kSubscribe;
        if ( action == 0 )
            return Renew( speaker, [] { return std::make_unique<XSpeaker>(); } );
        if ( action <= 2 )
            return Renew( listener, [&] { return std::make_unique<StressListener>( ioRandom() % 2 == 0 ); } );
        const std::shared_lock listenerLock( listener.mutex );
        const std::shared_lock speakerLock( speaker.mutex );
        if ( listener.object && speaker.object )
            Act( action, static_cast<unsigned>( ioRandom() >> 8 ), *speaker.object, *listener.object );
    }

    template<class T, class Make>
    static void Renew( Slot<T>& ioSlot, Make inMake )
    {
        const std::unique_lock lock( ioSlot.mutex );
        ioSlot.object.reset();
        ioSlot.object = inMake();
    }

    static void Act( unsigned inAction, unsigned inRandom, XSpeaker& ioSpeaker, StressListener& ioListener )
    {
        const NumberMessage message( sNextNumber++, &ioSpeaker );
        const auto when = static_cast<XSpeaker::XWhen>( inRandom % 4 );
        const bool isOn = inRandom % 2 == 0;
        switch ( inAction )
        {
        case 3:
            return ioListener.Unsubscribe( ioSpeaker );
        case 4:
            return ioListener.SetAsynchronous( isOn );
        case 5:
            ioListener.SetIsDeaf( typeid( XMessageVoid ), isOn );
            return ioSpeaker.SetIsMute( typeid( XMessageVoid ), isOn );
        case 6:
            return ioSpeaker.HardUnsubscribeListener( ioListener );
        case 7:
        case 8:
            return XSpeaker::PostXMessage( message, ioListener, when );
        case kSubscribe:
        case 10:
        case 11:
            return ioListener.Subscribe( ioSpeaker );
        default:
            return ioSpeaker.SpeakMessage( message, when );
        }
    }

    std::vector<Slot<XSpeaker>> speakers;
    std::vector<Slot<StressListener>> listeners;
    const std::size_t subscriptionsPerEnd;
};

} // namespace

/// Few of both, and so many of one that the other keeps an index of them.
class XSpeakerStressTest : public testing::TestWithParam<std::pair<std::size_t, std::size_t>>
{
};
INSTANTIATE_TEST_SUITE_P(
    SpeakersAndListeners, XSpeakerStressTest,
    testing::Values( std::pair( 6, 12 ), std::pair( 2, 200 ), std::pair( 120, 3 ) ) );

TEST_P( XSpeakerStressTest, NobodyHearsTwiceOrAfterItsEnd )
{
    sHeard = 0;
    std::atomic<bool> isOver = false;
    {
        Stress stress( GetParam().first, GetParam().second );
        std::thread all(
            [&]
            {
                const auto round = static_cast<unsigned>( GTEST_FLAG_GET( random_seed ) );
                RunOnThreads(
                    kThreads, [&]( unsigned inThread ) { stress.Work( round * kThreads + inThread ); } );
                isOver = true;
            } );
        while ( !isOver )
        {
            XSpeaker::ProcessAllNextEventMessages();
            XSpeaker::ProcessAllIdleMessages();
            std::this_thread::yield();
        }
        all.join();
    }
    EXPECT_GT( sHeard, kThreads * kSteps / 50 );
    EXPECT_EQ( sHeardTwice, 0 );
    EXPECT_EQ( sHeardWhenDead, 0 );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u ); // all have gone, and their messages with them
}
