#include "Core/Errors/XErrorLog.h"
#include "Core/Strings/XString.h"
#include "Core/Times/XTimer.h"
#include "Messaging/XRemoteMessage.h"
#include "Process/WMainLoop.h"
#include "Recorder.h"
#include "Threads/Waiting/WEvent.h"

namespace
{

struct XMessageQueuesTest : testing::Test
{
    static constexpr auto kNext = XSpeaker::kWhenNextEvent;
    static constexpr auto kIdle = XSpeaker::kWhenIdle;

    void SetUp() override { Drain(); }
    void TearDown() override { EXPECT_EQ( XSpeaker::GetDeferredCount(), 0u ); }

    static void Drain() { XSpeaker::ProcessAllNextEventMessages(); }
    static bool RingsNow() { return WMainLoop::WaitForHandle( WMainLoop::GetWaitHandle(), 0 ); }
    void Queue( int inNumber, XSpeaker::XWhen inWhen = kNext )
    {
        speaker.SpeakMessage( NumberMessage( inNumber ), inWhen );
    }

    XSpeaker speaker;
    Recorder listener{ speaker };
};

/// Replaces queued messages of an equal level, merges those of an equal level and value; two levels share a
/// key.
struct LevelMessage : NumberMessage
{
    LevelMessage( int inLevel, int inValue ) : NumberMessage( inValue ), level( inLevel ) {}
    LevelMessage* Clone() const override { return new LevelMessage( *this ); }
    XCoalesce ShouldCoalesceQueueMessage( const XMessage& inNew ) const override
    {
        const auto& other = dynamic_cast<const LevelMessage&>( inNew );
        if ( other.level != level )
            return kCoalesceNone;
        return other.number == number ? kCoalesceMerge : kCoalesceReplace;
    }
    std::uint64_t GetCoalesceKey() const noexcept override { return 0; }

    int level;
};

struct FaultyMessage : XMessage
{
    FaultyMessage( bool inClones, XSpeaker* inSpeaker ) : XMessage( inSpeaker ), clones( inClones ) {}
    FaultyMessage* Clone() const override
    {
        if ( !clones )
            throw std::runtime_error( "no clone" );
        return new FaultyMessage( *this );
    }
    bool operator==( const XMessage& ) const override { throw std::runtime_error( "no comparison" ); }

    bool clones;
};

std::vector<std::string> sLogged;

} // namespace

TEST_F( XMessageQueuesTest, EqualMessagesAreDeliveredOnce )
{
    for ( const int number : { 1, 2, 1, 3, 2 } )
        Queue( number );
    NumberMessage named( 3, &speaker );
    speaker.SpeakMessage( named, kNext );
    XSpeaker other;
    Recorder otherListener( other );
    other.SpeakMessage( named, kNext ); // queued as the other speaker's own
    Queue( 1, kIdle );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 5u );
    Drain();
    EXPECT_EQ( listener.heard, ( Numbers{ 1, 2, 3 } ) );
    EXPECT_EQ( otherListener.heard, Numbers{ 3 } );
    EXPECT_TRUE( XSpeaker::ProcessAllIdleMessages() );
    EXPECT_FALSE( XSpeaker::ProcessAllIdleMessages() );
    EXPECT_EQ( listener.heard.back(), 1 );
}

TEST_F( XMessageQueuesTest, ReplacingMovesToTheBack )
{
    for ( const auto& [level, value] :
          std::vector<std::pair<int, int>>{ { 1, 10 }, { 2, 20 }, { 1, 11 }, { 2, 20 } } )
        speaker.SpeakMessage( LevelMessage( level, value ), kNext );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 2u );
    Drain();
    EXPECT_EQ( listener.heard, ( Numbers{ 20, 11 } ) );
}

TEST_F( XMessageQueuesTest, AsksClassesDerivedFromMessagesWithKeys )
{
    struct StateMessage : XRemoteMessage
    {
        using XRemoteMessage::XRemoteMessage;
        StateMessage* Clone() const override { return new StateMessage( *this ); }
        XCoalesce ShouldCoalesceQueueMessage( const XMessage& ) const override { return kCoalesceReplace; }
    };
    listener.action = []( const XMessage& inMessage )
    { EXPECT_EQ( dynamic_cast<const StateMessage&>( inMessage ).GetID(), 2u ); };
    for ( const std::uint32_t id : { 1, 2 } )
        speaker.SpeakMessage( StateMessage( &speaker, id ), kNext );
    Drain();
    EXPECT_EQ( listener.heard.size(), 1u );
}

TEST_F( XMessageQueuesTest, KeepsOrderAndLikesAmongThousands )
{
    Numbers expected;
    for ( int number = 1; number <= 5000; ++number )
    {
        Queue( number );
        Queue( ( number * 7919 ) % number + 1 );
        expected.push_back( number );
    }
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 5000u );
    const auto isEven = []( const XSpeaker::XDeferredMessageRecord& inRecord )
    { return dynamic_cast<const NumberMessage&>( *inRecord.message ).number % 2 == 0; };
    EXPECT_EQ( XSpeaker::RemoveFromDelayedQueue( kNext, isEven ), 2500u );
    std::erase_if( expected, []( int inNumber ) { return inNumber % 2 == 0; } );
    Drain();
    EXPECT_EQ( listener.heard, expected );
}

/// The last of very many messages is replaced when the queue holds nothing else.
TEST_F( XMessageQueuesTest, CoalescesOnAfterAFlood )
{
    constexpr int kFlood = 40000;
    speaker.SpeakMessage( LevelMessage( 1, 0 ), kNext );
    for ( int number = 1; number <= kFlood; ++number )
        Queue( number );
    const auto isNumber = XSpeaker::XRemoveMsgsByType{ &typeid( NumberMessage ) };
    EXPECT_EQ( XSpeaker::RemoveFromDelayedQueue( kNext, isNumber ), static_cast<USize>( kFlood ) );
    for ( int value = 1; value <= 3; ++value )
    {
        speaker.SpeakMessage( LevelMessage( 1, value ), kNext );
        Queue( 4 );
    }
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 2u );
    Drain();
    EXPECT_EQ( listener.heard, ( Numbers{ 4, 3 } ) );
}

TEST_F( XMessageQueuesTest, WhatHandlersQueueWaitsForTheNextDrain )
{
    listener.action = [&]( const XMessage& )
    {
        if ( listener.heard.size() == 1 )
            Queue( 2 );
        Drain(); // a drain within a drain does nothing
        EXPECT_FALSE( XSpeaker::ProcessAllIdleMessages() );
    };
    EXPECT_FALSE( RingsNow() );
    Queue( 1 );
    EXPECT_TRUE( RingsNow() );
    EXPECT_TRUE( XSpeaker::GetMsgInNextEventQueueEvent().IsSet() );
    Drain();
    EXPECT_EQ( listener.heard, Numbers{ 1 } );
    EXPECT_TRUE( RingsNow() );
    EXPECT_FALSE( XSpeaker::GetMsgInNextEventQueueEvent().IsSet() );
    EXPECT_TRUE( XSpeaker::IsNextEventMessageToProcess() );
    Drain();
    EXPECT_EQ( listener.heard, ( Numbers{ 1, 2 } ) );
    EXPECT_FALSE( RingsNow() );
}

TEST_F( XMessageQueuesTest, ADrainIsHeldToWhatItFoundAndToSuspensions )
{
    const auto once = [&]( const std::function<void()>& inAction )
    {
        listener.action = [this, inAction]( const XMessage& )
        {
            listener.action = nullptr;
            inAction();
        };
    };
    Queue( 1 );
    Queue( 2 );
    once(
        [&]
        {
            XSpeaker::RemoveFromDelayedQueue( kNext, XSpeaker::XRemoveMsgsSentBySpeaker( speaker ) );
            Queue( 3 );
        } );
    Drain();
    EXPECT_EQ( listener.heard, Numbers{ 1 } );

    Queue( 4 );
    once( XSpeaker::SuspendIdleProcessing );
    Drain();
    EXPECT_EQ( listener.heard, ( Numbers{ 1, 3 } ) );
    XSpeaker::ResumeIdleProcessing();

    XSpeaker::ResumeIdleProcessing(); // once too often
    Queue( 5 );
    once(
        [&]
        {
            Drain();
            EXPECT_EQ( listener.heard, ( Numbers{ 1, 3, 4 } ) );
        } );
    Drain();
    XSpeaker::SuspendIdleProcessing();
    EXPECT_EQ( listener.heard, ( Numbers{ 1, 3, 4, 5 } ) );
}

TEST_F( XMessageQueuesTest, SuspensionHoldsBothQueues )
{
    XSpeaker::SuspendIdleProcessing();
    XSpeaker::SuspendIdleProcessing();
    Queue( 1 );
    Queue( 2, kIdle );
    XSpeaker::ResumeIdleProcessing();
    Drain();
    EXPECT_FALSE( XSpeaker::ProcessAllIdleMessages() );
    EXPECT_TRUE( listener.heard.empty() );
    EXPECT_FALSE( RingsNow() ); // or a loop would spin
    EXPECT_CONTAINS( XSpeaker::GetDebugStatus().GetConstCharPtr(), "\rDeferred: 2\r" );
    XSpeaker::ResumeIdleProcessing();
    EXPECT_TRUE( RingsNow() );
    Drain();
    EXPECT_TRUE( XSpeaker::ProcessAllIdleMessages() );
    EXPECT_EQ( listener.heard, ( Numbers{ 1, 2 } ) );
}

/// A loop that was woken for messages which are withdrawn then is woken for the next ones too.
TEST_F( XMessageQueuesTest, RingsAgainAfterMessagesWereWithdrawn )
{
    for ( const auto when : { kNext, kIdle } )
    {
        XSpeaker::SuspendIdleProcessing();
        Queue( 1, when );
        Drain();
        EXPECT_FALSE( RingsNow() );
        XSpeaker::RemoveFromDelayedQueue( when, XSpeaker::XRemoveMsgsSentBySpeaker( speaker ) );
        XSpeaker::ResumeIdleProcessing();
        Queue( 2, when );
        EXPECT_TRUE( RingsNow() );
        Drain();
        XSpeaker::ProcessAllIdleMessages();
    }
    EXPECT_EQ( listener.heard, ( Numbers{ 2, 2 } ) );
}

TEST_F( XMessageQueuesTest, AnIdleDrainKeepsToItsBudget )
{
    constexpr int kMessages = 50;
    listener.action = []( const XMessage& )
    {
        for ( const XTimer timer( 10 ); !timer.HasExpired(); )
            ;
    };
    for ( int number = 1; number <= kMessages; ++number )
        Queue( number, kIdle );
    const XTimer timer;
    EXPECT_TRUE( XSpeaker::ProcessAllIdleMessages() );
    EXPECT_GE( timer.GetElapsedMS(), 100 );
    EXPECT_LE( listener.heard.size(), 10u );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), kMessages - listener.heard.size() );
    EXPECT_TRUE( XSpeaker::GetMsgInIdleQueueEvent().IsSet() );
    EXPECT_TRUE( RingsNow() );
    listener.action = nullptr;
    EXPECT_TRUE( XSpeaker::ProcessAllIdleMessages() );
    EXPECT_EQ( listener.heard.size(), std::size_t( kMessages ) );
    EXPECT_FALSE( XSpeaker::GetMsgInIdleQueueEvent().IsSet() );
}

TEST_F( XMessageQueuesTest, HandlersExceptionsAreLoggedAndTheDrainGoesOn )
{
    sLogged.clear();
    const auto previous = XErrorLog::Install(
        { []( const XException& inException, const XString& )
          { sLogged.push_back( std::to_string( inException.GetErrorNumber() ) ); },
          []( const XString& inTypeAndText, const XString& )
          { sLogged.push_back( inTypeAndText.GetConstCharPtr() ); } } );
    listener.action = []( const XMessage& inMessage )
    {
        const int number = dynamic_cast<const NumberMessage&>( inMessage ).number;
        if ( number == 1 || number == 3 )
            throw XException( number == 1 ? 1005 : 1001 ); // the other one is silent
        if ( number == 2 )
            throw std::runtime_error( "two" );
        if ( number == 4 )
            throw 4;
    };
    for ( const int number : { 1, 2, 3, 4, 5 } )
        Queue( number );
    Drain();
    XErrorLog::Install( previous );
    EXPECT_EQ( listener.heard, ( Numbers{ 1, 2, 3, 4, 5 } ) );
    EXPECT_EQ(
        sLogged, ( std::vector<std::string>{ "1005", "std::runtime_error: two", "exception of type int" } ) );
}

TEST_F( XMessageQueuesTest, FaultyMessagesLeaveTheQueueAsItIs )
{
    Queue( 1 );
    EXPECT_THROW( speaker.SpeakMessage( FaultyMessage( false, &speaker ), kNext ), std::runtime_error );
    speaker.SpeakMessage( FaultyMessage( true, &speaker ), kNext );
    EXPECT_THROW( speaker.SpeakMessage( FaultyMessage( true, &speaker ), kNext ), std::runtime_error );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 2u );
    Drain();
    EXPECT_EQ( listener.heard, ( Numbers{ 1, 0 } ) );
}

TEST_F( XMessageQueuesTest, PostsReachOneListenerAndKeepApartFromBroadcasts )
{
    Recorder other( speaker );
    Queue( 1 );
    XSpeaker::PostXMessage( NumberMessage( 1, &speaker ), listener, kNext );
    XSpeaker::PostXMessage( NumberMessage( 1, &speaker ), listener, kNext );
    XSpeaker::PostXMessage( NumberMessage( 1, &speaker ), other, kNext );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 3u );
    XSpeaker::PostXMessage( NumberMessage( 2 ), listener );
    OnWorker( [&] { XSpeaker::PostXMessage( NumberMessage( 3 ), listener ); } );
    EXPECT_EQ( listener.heard, Numbers{ 2 } );
    Drain();
    EXPECT_EQ( listener.heard, ( Numbers{ 2, 1, 1, 3 } ) );
    EXPECT_EQ( other.heard, ( Numbers{ 1, 1 } ) );

    listener.SetAsynchronous( true );
    OnWorker( [&] { XSpeaker::PostXMessage( NumberMessage( 4 ), listener ); } );
    listener.SetIsDeaf( typeid( NumberMessage ), true );
    XSpeaker::PostXMessage( NumberMessage( 5 ), listener );
    EXPECT_EQ( listener.heard.back(), 4 );
}

TEST_F( XMessageQueuesTest, WithdrawsWhatPredicatesAndDestructorsName )
{
    auto other = std::make_unique<XSpeaker>();
    auto target = std::make_unique<Recorder>();
    Queue( 1 );
    speaker.SpeakMessage( OtherMessage(), kNext );
    other->SpeakMessage( NumberMessage( 2 ), kNext );
    other->SpeakMessage( NumberMessage( 2 ), kIdle );
    XSpeaker::PostXMessage( NumberMessage( 3, other.get() ), listener, kNext );
    XSpeaker::PostXMessage( NumberMessage( 4 ), *target, kIdle );
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 6u );
    EXPECT_EQ( XSpeaker::RemoveFromDelayedQueue( kIdle, XSpeaker::XRemoveMsgsSentBySpeaker( *other ) ), 1u );
    const XSpeaker::XRemoveMsgsByType isOther{ &typeid( OtherMessage ), &typeid( FaultyMessage ) };
    EXPECT_EQ( XSpeaker::RemoveFromDelayedQueue( kNext, isOther ), 1u );
    other.reset();
    target.reset();
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 1u );
    Drain();
    EXPECT_EQ( listener.heard, Numbers{ 1 } );
}

TEST_F( XMessageQueuesTest, OnlyTheMainThreadDrains )
{
    OnWorker(
        []
        {
            EXPECT_EQ( ErrorOf( XSpeaker::ProcessAllNextEventMessages ), 1006u );
            EXPECT_EQ( ErrorOf( XSpeaker::ProcessAllIdleMessages ), 1006u );
        } );
}
