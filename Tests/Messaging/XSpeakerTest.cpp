#include "Messaging/XSpeaker.h"

#include "Messaging/XAppMessageCentre.h"
#include "Recorder.h"

namespace
{
struct Stop : std::runtime_error
{
    Stop() : runtime_error( "stop" ) {}
};
} // namespace

TEST( XSpeakerTest, CallsListenersInTheOrderOfSubscription )
{
    XSpeaker speaker;
    std::string order;
    Recorder first( speaker, [&]( const XMessage& ) { order += 'a'; } );
    Recorder second( speaker, [&]( const XMessage& ) { order += 'b'; } );
    XMessageCentre centre; // a listener that the library calls
    centre.Subscribe( speaker );
    Recorder beyond( centre, [&]( const XMessage& ) { order += 'c'; } );
    first.Unsubscribe( speaker );
    first.Subscribe( speaker );
    const auto count = XSpeaker::GetMessageCount();
    speaker.SpeakMessage( NumberMessage( 1 ) );
    EXPECT_EQ( order, "bca" );
    EXPECT_EQ( XSpeaker::GetMessageCount(), count + 2 );
}

TEST( XSpeakerTest, CountsSubscriptionsButCallsOnce )
{
    XSpeaker speaker;
    Recorder listener( speaker );
    listener.Subscribe( speaker );
    speaker.SpeakMessage( NumberMessage( 1 ) );
    listener.Unsubscribe( speaker );
    speaker.SpeakMessage( NumberMessage( 2 ) );
    EXPECT_EQ( speaker.GetListenerCount(), 1u );
    listener.Unsubscribe( speaker );
    listener.Unsubscribe( speaker );
    speaker.SpeakMessage( NumberMessage( 3 ) );
    EXPECT_EQ( listener.heard, ( Numbers{ 1, 2 } ) );
    EXPECT_FALSE( speaker.HasListeners() );

    listener.Subscribe( speaker );
    listener.Subscribe( speaker );
    speaker.HardUnsubscribeListener( listener );
    EXPECT_EQ( speaker.GetListenerCount(), 0u );
    EXPECT_FALSE( speaker.HasListeners() );
}

TEST( XSpeakerTest, OffTheMainThreadOrdinaryListenersWaitForTheDrain )
{
    XSpeaker speaker;
    Recorder ordinary( speaker );
    OnWorker( [&] { speaker.SpeakMessage( NumberMessage( 1 ) ); } );
    EXPECT_TRUE( ordinary.heard.empty() );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( ordinary.heard, Numbers{ 1 } );
    EXPECT_TRUE( ordinary.wasOnMainThread );

    OnWorker( [&] { speaker.SpeakMessage( NumberMessage( 2 ), XSpeaker::kWhenImmediate ); } );
    EXPECT_EQ( ordinary.heard, ( Numbers{ 1, 2 } ) );
    EXPECT_FALSE( ordinary.wasOnMainThread );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
}

TEST( XSpeakerTest, EachKindOfListenerHearsExactlyOnce )
{
    XSpeaker speaker;
    Recorder ordinary( speaker );
    Recorder asynchronous( speaker, nullptr, true );
    OnWorker( [&] { speaker.SpeakMessage( NumberMessage( 1 ) ); } );
    EXPECT_EQ( asynchronous.heard, Numbers{ 1 } );
    EXPECT_TRUE( ordinary.heard.empty() );

    // An equal message merges into the queued one, and who has heard either is still left out.
    Recorder late( speaker, nullptr, true );
    OnWorker( [&] { speaker.SpeakMessage( NumberMessage( 1 ) ); } );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 1u );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( asynchronous.heard, ( Numbers{ 1, 1 } ) );
    EXPECT_EQ( late.heard, Numbers{ 1 } );
    EXPECT_EQ( ordinary.heard, Numbers{ 1 } );

    ordinary.SetAsynchronous( true );
    OnWorker( [&] { speaker.SpeakMessage( NumberMessage( 2 ) ); } );
    EXPECT_EQ( ordinary.heard, ( Numbers{ 1, 2 } ) );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
}

TEST( XSpeakerTest, AnExclusionDiesWithItsListener )
{
    XSpeaker speaker;
    Recorder ordinary( speaker );
    alignas( Recorder ) std::byte place[sizeof( Recorder )];
    auto* listener = new ( place ) Recorder( speaker, nullptr, true );
    OnWorker( [&] { speaker.SpeakMessage( NumberMessage( 2 ) ); } );
    listener->StopListening();
    listener->Subscribe( speaker );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( listener->heard, Numbers{ 2 } ); // not again
    OnWorker( [&] { speaker.SpeakMessage( NumberMessage( 1 ) ); } );
    listener->~Recorder();
    listener = new ( place ) Recorder( speaker, nullptr, true );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( listener->heard, Numbers{ 1 } );
    listener->~Recorder();
}

TEST( XSpeakerTest, MutesAndDeafensExactClasses )
{
    XSpeaker speaker;
    Recorder deaf( speaker );
    Recorder other( speaker );
    deaf.SetIsDeaf( typeid( NumberMessage ), true );
    speaker.SpeakMessage( NumberMessage( 1 ) );
    speaker.SpeakMessage( OtherMessage() );
    EXPECT_EQ( deaf.heard, Numbers{ 0 } );
    EXPECT_EQ( other.heard, ( Numbers{ 1, 0 } ) );

    speaker.SpeakMessage( NumberMessage( 2 ), XSpeaker::kWhenNextEvent );
    speaker.SetIsMute( typeid( NumberMessage ), true );
    speaker.SpeakMessage( NumberMessage( 3 ) );
    speaker.SpeakMessage( NumberMessage( 3 ), XSpeaker::kWhenIdle );
    XSpeaker::PostXMessage( NumberMessage( 3, &speaker ), other );
    XSpeaker::ProcessAllNextEventMessages(); // what was queued before passes
    EXPECT_EQ( other.heard, ( Numbers{ 1, 0, 2 } ) );
    EXPECT_TRUE( speaker.IsContainedInMutedMessages( typeid( NumberMessage ) ) );
    EXPECT_FALSE( XSpeaker().IsContainedInMutedMessages( typeid( NumberMessage ) ) );

    speaker.SetIsMute( typeid( NumberMessage ), false );
    deaf.SetIsDeaf( typeid( NumberMessage ), false );
    speaker.SpeakMessage( NumberMessage( 4 ) );
    EXPECT_EQ( deaf.heard, ( Numbers{ 0, 4 } ) );
}

TEST( XSpeakerTest, HandlersChangeSubscriptionsDuringABroadcast )
{
    XSpeaker speaker;
    std::deque<Recorder> added( 20 );
    Recorder leaving( speaker, [&]( const XMessage& ) { leaving.Unsubscribe( speaker ); } );
    Recorder changing;
    changing.Subscribe( speaker );
    Recorder silenced( speaker );
    changing.action = [&]( const XMessage& )
    {
        for ( Recorder& listener : added )
            listener.Subscribe( speaker );
        silenced.Unsubscribe( speaker );
        changing.Unsubscribe( speaker );
        changing.Subscribe( speaker ); // keeps its place, and is not called again
        changing.action = nullptr;
    };
    for ( const int number : { 1, 2 } )
        speaker.SpeakMessage( NumberMessage( number ) );
    EXPECT_EQ( leaving.heard, Numbers{ 1 } );
    EXPECT_EQ( changing.heard, ( Numbers{ 1, 2 } ) );
    EXPECT_TRUE( silenced.heard.empty() );
    for ( const Recorder& listener : added )
        EXPECT_EQ( listener.heard, ( Numbers{ 1, 2 } ) );
    EXPECT_EQ( speaker.GetListenerCount(), 1 + added.size() );
}

TEST( XSpeakerTest, NestedBroadcastsCleanUpAtTheEndOfTheOutermost )
{
    XSpeaker speaker;
    Recorder first(
        speaker,
        [&]( const XMessage& inMessage )
        {
            if ( dynamic_cast<const NumberMessage&>( inMessage ).number == 1 )
                speaker.SpeakMessage( NumberMessage( 2 ) );
        } );
    auto second = std::make_unique<Recorder>( speaker );
    Recorder third( speaker, [&]( const XMessage& ) { second.reset(); } );
    Recorder fourth( speaker );
    speaker.SpeakMessage( NumberMessage( 1 ) );
    EXPECT_EQ( first.heard, ( Numbers{ 1, 2 } ) );
    EXPECT_EQ( fourth.heard, ( Numbers{ 2, 1 } ) );
    EXPECT_EQ( speaker.GetListenerCount(), 3u );
}

TEST( XSpeakerTest, AListenersExceptionReachesTheSenderAfterCleanUp )
{
    XSpeaker speaker;
    Recorder thrower(
        speaker,
        [&]( const XMessage& )
        {
            thrower.Unsubscribe( speaker );
            throw Stop();
        } );
    Recorder after( speaker );
    EXPECT_THROW( speaker.SpeakMessage( NumberMessage( 1 ) ), Stop );
    EXPECT_TRUE( after.heard.empty() );
    EXPECT_EQ( speaker.GetListenerCount(), 1u );
    speaker.SpeakMessage( NumberMessage( 2 ) );
    EXPECT_EQ( after.heard, Numbers{ 2 } );
    EXPECT_NO_THROW( speaker.GetSpeakerMutex().AssertIsNotLocked() );
}

TEST( XSpeakerTest, MayBeDestroyedByItsOwnBroadcast )
{
    for ( const bool isNested : { false, true } )
    {
        auto speaker = std::make_unique<XSpeaker>();
        Recorder before( *speaker );
        Recorder killer(
            *speaker,
            [&]( const XMessage& )
            {
                if ( isNested && killer.heard.size() == 1 )
                    return speaker->SpeakMessage( NumberMessage( 2 ) );
                speaker->SpeakMessage( NumberMessage( 3 ), XSpeaker::kWhenNextEvent );
                speaker.reset();
            } );
        Recorder after( *speaker );
        speaker->SpeakMessage( NumberMessage( 1 ) );
        EXPECT_FALSE( speaker );
        EXPECT_TRUE( after.heard.empty() );
        EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
    }
}

TEST( XSpeakerTest, TheSpeakerOfAQueuedMessageMayDieInItsDelivery )
{
    auto speaker = std::make_unique<XSpeaker>();
    Recorder killer( *speaker, [&]( const XMessage& ) { speaker.reset(); } );
    speaker->SpeakMessage( NumberMessage( 1 ), XSpeaker::kWhenNextEvent );
    speaker->SpeakMessage( NumberMessage( 2 ), XSpeaker::kWhenNextEvent );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( killer.heard, Numbers{ 1 } );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
}

TEST( XSpeakerTest, NothingReachesAnybodyOnceItHasStopped )
{
    XSpeaker speaker;
    Recorder listener( speaker );
    speaker.SpeakMessage( NumberMessage( 1 ), XSpeaker::kWhenIdle );
    speaker.StopSpeaking();
    listener.Subscribe( speaker );
    speaker.SpeakMessage( NumberMessage( 2 ) );
    speaker.SpeakMessage( NumberMessage( 3 ), XSpeaker::kWhenNextEvent );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u );
    EXPECT_TRUE( listener.heard.empty() );
}

TEST( XSpeakerTest, ManyListenersKeepTheirOrder )
{
    constexpr std::size_t kCount = 200;
    XSpeaker speaker;
    std::vector<std::size_t> heard;
    std::vector<std::unique_ptr<Recorder>> listeners;
    for ( std::size_t i = 0; i < kCount; ++i )
        listeners.push_back(
            std::make_unique<Recorder>( speaker, [&heard, i]( const XMessage& ) { heard.push_back( i ); } ) );
    std::vector<std::size_t> expected;
    for ( std::size_t i = 0; i < kCount; ++i ) // all but every fourth, which has subscribed twice
    {
        if ( i % 4 == 0 )
            listeners[i]->Subscribe( speaker );
        if ( i % 4 == 0 )
            expected.push_back( i );
        listeners[i]->Unsubscribe( speaker );
    }
    listeners[7]->Subscribe( speaker );
    expected.push_back( 7 );
    listeners[8].reset();
    std::erase( expected, std::size_t( 8 ) );
    speaker.SpeakMessage( NumberMessage( 1 ) );
    EXPECT_EQ( heard, expected );
    EXPECT_EQ( speaker.GetListenerCount(), expected.size() );
}

TEST( XSpeakerTest, AListenerOfManySpeakersKeepsThoseThatAreLeft )
{
    std::deque<XSpeaker> speakers( 100 );
    Recorder one;
    for ( const XSpeaker& speaker : speakers )
        one.Subscribe( speaker );
    for ( std::size_t i = 0; i < speakers.size(); i += 3 )
        one.Unsubscribe( speakers[i] );
    speakers.pop_front();
    for ( XSpeaker& speaker : speakers )
        speaker.SpeakMessage( NumberMessage( 2 ) );
    EXPECT_EQ( one.heard.size(), 66u ); // of 99 every third has gone

    // 22 are left, which are looked up still, those that come again too.
    for ( std::size_t i = 33; i < speakers.size(); ++i )
        one.Unsubscribe( speakers[i] );
    XSpeaker& last = speakers[34];
    one.Subscribe( last );
    one.Subscribe( last );
    one.Unsubscribe( last );
    EXPECT_EQ( last.GetListenerCount(), 1u );
    one.StopListening();
    for ( const XSpeaker& speaker : speakers )
        EXPECT_EQ( speaker.GetListenerCount(), 0u );
}
