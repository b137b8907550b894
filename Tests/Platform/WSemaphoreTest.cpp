#include "Threads/Waiting/WSemaphore.h"

#include "Testing.h"
#include "Threads/WThread.h"
#include "Threads/Waiting/WEvent.h"

namespace
{

/// A platform thread that makes one alertable wait.
class AlertableWaiter : private WThreadBody
{
public:
    explicit AlertableWaiter( WSemaphore& inSemaphore ) : itsSemaphore( inSemaphore ), itsThread( *this )
    {
        itsThread.Start();
    }

    void Wake() { itsThread.Wake(); }

    WWaitResult GetResult()
    {
        itsHasEnded.Wait();
        return itsResult;
    }

private:
    void RunThread() override
    {
        itsResult = itsSemaphore.Wait( kNoTimeout, true );
        throw 1; // ends the thread quietly
    }
    std::int32_t FinishThread() noexcept override
    {
        itsThread.Ended();
        itsHasEnded.Set();
        return 0;
    }

    WSemaphore& itsSemaphore;
    WEvent itsHasEnded;
    WWaitResult itsResult = kWaitTimedOut;
    WThread itsThread; // last: its destructor waits for the thread
};

} // namespace

TEST( WSemaphoreTest, CountsUnits )
{
    WSemaphore semaphore( 2 );
    EXPECT_EQ( kWaitSucceeded, semaphore.Wait( 0 ) );
    EXPECT_TRUE( semaphore.TryWait() );
    EXPECT_FALSE( semaphore.TryWait() );
    EXPECT_EQ( kWaitTimedOut, semaphore.Wait( 0 ) );
    EXPECT_EQ( kWaitTimedOut, semaphore.Wait( 10 ) );
    semaphore.Signal( 3 );
    EXPECT_EQ( 3u, semaphore.GetCount() );
}

// Units come in batches and waits end by time-out; in the end every unit was taken by one thread.
TEST( WSemaphoreTest, GivesEveryUnitToOneThread )
{
    constexpr std::uint32_t kUnits = 20'000;
    WSemaphore semaphore;
    std::atomic<std::uint32_t> taken = 0;
    const auto take = [&]
    {
        while ( taken < kUnits )
        {
            if ( semaphore.Wait( 5 ) == kWaitSucceeded )
                ++taken;
        }
    };
    const auto give = [&]
    {
        for ( std::uint32_t given = 0; given < kUnits; given += 4 )
            semaphore.Signal( 4 );
    };
    RunTogether( take, take, take, give );
    EXPECT_EQ( kUnits, taken );
    EXPECT_EQ( 0u, semaphore.GetCount() );
}

TEST( WSemaphoreTest, MayBeDestroyedByTheThreadThatWasSignalled )
{
    for ( int turn = 0; turn < 200; ++turn )
    {
        auto semaphore = std::make_unique<WSemaphore>();
        std::thread signaller( [signalled = semaphore.get()] { signalled->Signal(); } );
        EXPECT_EQ( kWaitSucceeded, semaphore->Wait( kPatience ) );
        semaphore.reset();
        signaller.join();
    }
}

TEST( WSemaphoreTest, AlertEndsOneWaitAndTakesNoUnit )
{
    for ( int turn = 0; turn < 100; ++turn )
    {
        WSemaphore semaphore;
        AlertableWaiter alerted( semaphore );
        alerted.Wake(); // before the wait, during it, or while it begins
        EXPECT_EQ( kWaitAlerted, alerted.GetResult() );
        AlertableWaiter racing( semaphore );
        std::thread signaller( [&] { semaphore.Signal(); } );
        racing.Wake();
        signaller.join();
        const WWaitResult result = racing.GetResult();
        EXPECT_EQ( result == kWaitSucceeded ? 0u : 1u, semaphore.GetCount() );
    }
}

TEST( WEventTest, StaysSetUntilResetByHand )
{
    WEvent event;
    EXPECT_EQ( kWaitTimedOut, event.Wait( 5 ) );
    const auto wait = [&] { EXPECT_EQ( kWaitSucceeded, event.Wait( kPatience ) ); };
    const auto set = [&]
    {
        event.Set();
        event.Set();
    };
    RunTogether( wait, wait, wait, wait, set );
    EXPECT_TRUE( event.IsSet() );
    event.Clear();
    EXPECT_EQ( kWaitTimedOut, event.Wait( 0 ) );
}

TEST( WEventTest, LetsOneWaitSucceedWhenResetByWait )
{
    WEvent event( WEvent::kResetByWait, true );
    EXPECT_EQ( kWaitSucceeded, event.Wait( 0 ) );
    EXPECT_EQ( kWaitTimedOut, event.Wait( 0 ) );
    WEvent back( WEvent::kResetByWait );
    constexpr int kTurns = 2000;
    RunTogether(
        [&]
        {
            for ( int turn = 0; turn < kTurns; ++turn )
            {
                EXPECT_EQ( kWaitSucceeded, event.Wait( kPatience ) );
                back.Set();
            }
        },
        [&]
        {
            for ( int turn = 0; turn < kTurns; ++turn )
            {
                event.Set();
                EXPECT_EQ( kWaitSucceeded, back.Wait( kPatience ) );
            }
        } );
}
