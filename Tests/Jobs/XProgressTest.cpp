#include "Jobs/XProgress.h"

#include "Core/Streams/XMemStream.h"
#include "Jobs/XProgressAbortDisabler.h"
#include "Jobs/XProgressChangedMessage.h"
#include "Jobs/XProgressDisabler.h"
#include "Jobs/XProgressStrategyChanger.h"
#include "Messaging/XListener.h"
#include "TestJob.h"
#include "Threads/TestThread.h"

using XProgressChangedMessage = XThreadProgressStrategy::XProgressChangedMessage;

namespace
{

/// Hears every change at once, as "type:level:value text".
struct ChangeListener : XListener
{
    explicit ChangeListener( const XSpeaker& inSpeaker ) { Subscribe( inSpeaker ); }

    void HandleMessage( const XMessage& inMessage ) override
    {
        const auto& change = dynamic_cast<const XProgressChangedMessage&>( inMessage );
        std::string text = std::to_string( change.GetChangeType() ) + ":" +
            std::to_string( change.GetLevel() ) + ":" + std::to_string( change.GetValue() );
        if ( !change.GetText().IsEmpty() )
            text += " " + std::string( change.GetText() );
        changes.push_back( text );
    }

    std::vector<std::string> TakeChanges() { return std::exchange( changes, {} ); }

    std::vector<std::string> changes;
};

using Changes = std::vector<std::string>;

struct XProgressTest : testing::Test
{
    XThreadProgressStrategy itsStrategy{ nullptr, XSpeaker::kWhenImmediate };
    ChangeListener itsListener{ itsStrategy };
    XProgressStrategyChanger itsChanger{ &itsStrategy };

    /// Passes the time in which values are held back.
    static void WaitUntilDue()
    {
        XTimer timer( XProgress::kUpdateYokePeriodMS );
        while ( !timer.HasExpired() )
            XThread::SleepCurrentThread( timer.GetRemainingMS() );
    }
};

} // namespace

TEST_F( XProgressTest, NeverDecreasesAndStaysWithinItsMaximum )
{
    XProgress progress( 10 );
    progress.SetProgress( 3.5 );
    progress.SetProgress( 2 );
    EXPECT_EQ( progress.GetExactProgress(), 3.5 );
    progress.Increment();
    EXPECT_EQ( progress.GetExactProgress(), 4 );
    progress.SetProgress( std::numeric_limits<double>::quiet_NaN() );
    EXPECT_EQ( progress.GetProgress(), 4u );
    progress.SetProgress( 99 );
    EXPECT_EQ( progress.GetProgress(), 10u );
}

TEST_F( XProgressTest, TellsBarsMessagesAndHeldBackValues )
{
    {
        XProgress outer( 10 );
        EXPECT_EQ( itsListener.TakeChanges(), ( Changes{ "4:1:0", "0:1:0" } ) );
        outer.SetTitle( "Import" );
        outer.SetMessage( "a.tif" );
        EXPECT_EQ( itsListener.TakeChanges(), ( Changes{ "3:0:0 Import", "2:1:0 a.tif" } ) );
        outer.SetProgress( 3 );
        EXPECT_EQ( itsListener.TakeChanges(), Changes() ) << "within the period";
        {
            XProgress bar( 4, XProgress::kProgressWork, 0, true );
            EXPECT_EQ( bar.GetLevel(), 2u );
            EXPECT_EQ( itsListener.TakeChanges(), ( Changes{ "4:2:0", "0:2:0" } ) );
            const XProgress wait( 1, XProgress::kProgressWait, 0, true );
            WaitUntilDue();
            bar.SetProgress( 1 );
            EXPECT_EQ( itsListener.TakeChanges(), ( Changes{ "0:2:250" } ) );
        }
        EXPECT_EQ( itsListener.TakeChanges(), ( Changes{ "5:1:0" } ) );
        outer.SetProgressIndeterminate();
        EXPECT_EQ( itsListener.TakeChanges(), ( Changes{ "1:1:0" } ) );
        EXPECT_TRUE( XProgress::IsProgressBarUp() );
        EXPECT_EQ( outer.GetMessage(), "a.tif" );
    }
    EXPECT_EQ( itsListener.TakeChanges(), ( Changes{ "5:0:0" } ) );
    EXPECT_FALSE( XProgress::IsProgressBarUp() );
}

TEST_F( XProgressTest, NestedProgressMovesItsParentWithinOneStep )
{
    XProgress outer( 10 );
    outer.SetProgress( 3 );
    {
        XProgress inner( 10 );
        itsListener.TakeChanges();
        WaitUntilDue();
        inner.SetProgress( 5 );
        EXPECT_EQ( outer.GetExactProgress(), 3.5 );
        EXPECT_EQ( itsListener.TakeChanges(), ( Changes{ "0:1:350" } ) );
        WaitUntilDue();
        inner.SetProgress( 10 );
        EXPECT_EQ( outer.GetExactProgress(), 3.999 );
        inner.SetMaxProgress( 1000 ); // the fraction falls, the parent stays
        EXPECT_EQ( outer.GetExactProgress(), 3.999 );
        XProgress innermost( 0 );
        innermost.SetMaxProgress( 0 );
    }
    outer.Increment();
    EXPECT_EQ( outer.GetExactProgress(), 4 );
    EXPECT_EQ( itsListener.TakeChanges(), ( Changes{ "0:1:399", "0:1:399", "0:1:400" } ) );
}

TEST_F( XProgressTest, AbortIsThrownOnceAndHeldBackByTheDisabler )
{
    XProgress outer( 10 );
    XProgress inner( 10 );
    XProgress::Abort();
    {
        const XProgressAbortDisabler disabler;
        EXPECT_NO_THROW( inner.YieldAndCheckAbort() );
    }
    EXPECT_ERROR( 1001, inner.YieldAndCheckAbort() );
    EXPECT_NO_THROW( outer.YieldAndCheckAbort() );

    XProgress::Abort();
    XProgress::CancelAbort();
    EXPECT_NO_THROW( inner.YieldAndCheckAbort() );
    XProgress::Abort();
    WaitUntilDue();
    EXPECT_ERROR( 1001, inner.Increment() );
}

TEST_F( XProgressTest, IsInvalidWithoutStrategyOrWhileDisabled )
{
    {
        const XProgressDisabler disabler;
        XProgress progress( 10 );
        EXPECT_FALSE( progress.IsValid() );
        progress.SetMessage( "unheard" );
        EXPECT_TRUE( progress.GetMessage().IsEmpty() );
    }
    const XProgressStrategyChanger changer( nullptr );
    XProgress progress( 10 );
    progress.SetProgress( 5 );
    EXPECT_FALSE( progress.IsValid() );
    EXPECT_FALSE( XProgress::IsProgressBarUp() );
    EXPECT_EQ( itsListener.TakeChanges(), Changes() );

    bool isValid = true;
    RunTogether( [&] { isValid = XProgress( 3 ).IsValid() || XProgress::IsProgressBarUp(); } );
    EXPECT_FALSE( isValid );
}

TEST_F( XProgressTest, AListenerThatThrowsLeavesNoProgressBehind )
{
    struct Thrower : XListener
    {
        void HandleMessage( const XMessage& ) override { XThrow( 1021 ); }
    } thrower;
    thrower.Subscribe( itsStrategy );
    EXPECT_ERROR( 1021, XProgress( 10 ) );
    EXPECT_FALSE( XProgress::IsProgressBarUp() );
    EXPECT_EQ( itsStrategy.GetLastProgress(), nullptr );
    thrower.Unsubscribe( itsStrategy );
    itsListener.TakeChanges();
    const XProgress progress( 10 );
    EXPECT_EQ( itsListener.TakeChanges(), ( Changes{ "4:1:0", "0:1:0" } ) );
}

TEST( XProgressStrategyTest, WhatItThrowsReachesTheWorkButNotItsEnd )
{
    struct Thrower : XThreadProgressStrategy
    {
        void ThrowIf( int inHook ) const
        {
            if ( inHook == hook )
                XThrow( 1021 );
        }
        void ProgressCreated( XProgress&, bool, std::uint32_t ) override { ThrowIf( 0 ); }
        void ProgressDestroyed( XProgress& ) override { ThrowIf( 1 ); }
        void SetTitle( const XString& ) override { ThrowIf( 2 ); }
        void SetMessage( XProgress&, const XString& ) override { ThrowIf( 3 ); }
        void SetProgress( XProgress&, std::uint32_t ) override { ThrowIf( 4 ); }
        void Yield() override { ThrowIf( 5 ); }
        int hook = 0;
    } thrower;
    const XProgressStrategyChanger changer( &thrower );
    const auto work = []
    {
        XProgress progress( 10 );
        progress.SetTitle( "Import" );
        progress.SetMessage( "a.tif" );
        progress.SetMaxProgress( 20 );
    };
    for ( ; thrower.hook <= 5; ++thrower.hook )
    {
        if ( thrower.hook == 1 )
            EXPECT_NO_THROW( work() );
        else
            EXPECT_EQ( ErrorOf( work ), 1021u ) << thrower.hook;
        EXPECT_FALSE( XProgress::IsProgressBarUp() );
        EXPECT_EQ( thrower.GetLastProgress(), nullptr );
    }
}

TEST( XThreadProgressStrategyTest, IsDeletedWithItsThread )
{
    struct Counted : XThreadProgressStrategy
    {
        explicit Counted( std::atomic<int>& ioLive ) : itsLive( ioLive ) { ++itsLive; }
        ~Counted() override { --itsLive; }
        std::atomic<int>& itsLive;
    };
    std::atomic<int> live = 0;
    TestThread thread( [&live] { XProgress::SetProgressStrategy( new Counted( live ) ); } );
    thread.StartThread();
    thread.Finish();
    EXPECT_EQ( live, 0 );
}

TEST( XProgressChangedMessageTest, OnlyTheNewestValueOfABarStaysQueued )
{
    XSpeaker speaker;
    ChangeListener listener( speaker );
    XThreadProgressStrategy strategy( &speaker, XSpeaker::kWhenNextEvent );
    const XProgressStrategyChanger changer( &strategy );
    XProgress outer( 10 );
    XProgress inner( 10, XProgress::kProgressWork, 0, true );
    for ( std::uint32_t value = 0; value <= 1000; ++value )
    {
        strategy.SetProgress( outer, value );
        strategy.SetProgress( inner, 1000 - value );
    }
    EXPECT_EQ( XSpeaker::GetDeferredCount(), 4u );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( listener.TakeChanges(), ( Changes{ "4:1:0", "4:2:0", "0:1:1000", "0:2:0" } ) );
}

TEST( XProgressChangedMessageTest, TravelsThroughAStream )
{
    const XProgressChangedMessage message(
        nullptr, 7, { XProgressChangedMessage::kMessageChanged, 0, 2, "page 3" } );
    XMemStream stream;
    message.WriteStream2( stream );
    stream.SeekTo( 0 );
    XProgressChangedMessage copy;
    copy.ReadStream2( stream );
    EXPECT_TRUE( stream.IsAtEOF() );
    EXPECT_TRUE( copy == message );
    EXPECT_EQ( copy.GetText(), "page 3" );
    EXPECT_EQ( copy.GetJobID(), 7u );
}

TEST( XThreadWaitsTest, EndByTheThreadItsTimeOrTheUser )
{
    WEvent mayEnd;
    TestThread thread( [&] { mayEnd.Wait(); } );
    thread.StartThread();
    EXPECT_ERROR( 2701, thread.WaitForTerminateWithProgress( 0 ) );
    EXPECT_ERROR( 2701, thread.WaitForSuspendWithProgress( 20, 1000, false ) );

    AbortingStrategy strategy;
    {
        const XProgressStrategyChanger changer( &strategy );
        EXPECT_ERROR( 1001, thread.WaitForTerminateWithProgress() );
    }
    mayEnd.Set();
    thread.WaitForTerminateWithProgress();
    EXPECT_EQ( thread.GetThreadReturnCode(), 0 );
}
