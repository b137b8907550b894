#include "Jobs/XJob.h"
#include "Jobs/XJobQueue.h"
#include "Messaging/XMessageVoid.h"
#include "Testing.h"
#include "Threads/XThread.h"

#include <shared_mutex>

// Threads attach, suspend, resume, stop, delete and tell jobs of a few queues while these run, are started,
// stopped and destroyed, and the main thread drains. Every job is completed exactly once, unless it was deleted.

namespace
{

using Random = std::minstd_rand;

constexpr unsigned kThreads = 4;
constexpr int kSteps = 4000;
constexpr std::int64_t kNeverStopped = 100;

struct Counts
{
    std::atomic<int> made = 0;
    std::atomic<int> gone = 0;
    std::atomic<int> completed = 0;
    std::atomic<int> lost = 0; // never completed though nobody deleted it, or though it has run
    std::atomic<int> completedTwice = 0;
    std::atomic<int> strayStops = 0; // stopped though nobody stops its tag
};

struct StressJob : XJob
{
    StressJob( Counts& ioCounts, unsigned inKind, bool inMayBeDeleted, bool inMayBeStopped )
        : itsCounts( ioCounts ), itsKind( inKind ), itsMayBeDeleted( inMayBeDeleted ),
          itsMayBeStopped( inMayBeStopped )
    {
        ++itsCounts.made;
        SetTag( inKind % 5 == 0 ? kNeverStopped : inKind % 4 + 1 );
        SetGroup( inKind % 3 );
    }
    ~StressJob() override
    {
        StopListening();
        ++itsCounts.gone;
        itsCounts.lost += itsCompletions == 0 && ( itsHasRun || !itsMayBeDeleted );
        itsCounts.completedTwice += itsCompletions > 1;
        itsCounts.completed += itsCompletions;
    }
    bool CanCompleteInJobThread() override { return itsKind % 2 == 0; }

protected:
    void RunJobSelf() override
    {
        itsHasRun = true;
        XThread::TestCancelCurrentThread();
        switch ( itsKind % 8 )
        {
        case 0:
            throw XException( 1005 );
        case 1:
            throw static_cast<int>( itsKind );
        case 2:
            return XThread::SleepCurrentThread( 1, true );
        default:
            return XThread::TestCancelCurrentThread();
        }
    }
    void JobCompleteSelf( std::uint32_t inResultCode ) override
    {
        ++itsCompletions;
        XThread::TestCancelCurrentThread(); // a completion is never cut short
        itsCounts.strayStops += inResultCode == kStopped && GetTag() == kNeverStopped && !itsMayBeStopped;
        if ( itsKind % 7 == 0 )
            throw 7;
    }

    Counts& itsCounts;

private:
    const unsigned itsKind;
    const bool itsMayBeDeleted;
    const bool itsMayBeStopped;
    bool itsHasRun = false;
    int itsCompletions = 0;
};

/// Owns a queue with a job that sleeps or stops all queues, and may do so itself.
struct OwningJob : StressJob
{
    OwningJob( Counts& ioCounts, int inTurn ) : StressJob( ioCounts, 2, true, true ), itsTurn( inTurn ) {}

protected:
    void RunJobSelf() override
    {
        XJobQueue inner;
        inner.AttachJob( new StressJob( itsCounts, 2, true, true ) );
        if ( itsTurn % 5 < 2 )
            inner.AttachJob( new OwningJob( itsCounts, 5 * itsTurn + 4 ) );
        inner.Start();
        StressJob::RunJobSelf();
        if ( itsTurn % 4 == 0 )
            XJobQueue::StopAllJobQueues();
    }

private:
    const int itsTurn;
};

void WaitAWhile( XJobQueue& ioQueue, std::int64_t )
{
    ErrorOrZero( [&] { ioQueue.WaitForQueueEmpty( 2 ); } ); // 2701, as likely as not
}

using Action = void ( * )( XJobQueue&, std::int64_t inTag );

constexpr Action kActions[] = {
    []( XJobQueue& q, std::int64_t inTag ) { q.StopTaggedJobs( inTag ); },
    []( XJobQueue& q, std::int64_t inTag ) {
        q.AsyncStopTaggedJobs( { inTag, 1 } );
    },
    []( XJobQueue& q, std::int64_t inTag ) { q.SuspendTaggedJobs( inTag ); },
    []( XJobQueue& q, std::int64_t ) { q.AsyncSuspendAllJobs(); },
    []( XJobQueue& q, std::int64_t inTag ) { q.ResumeTaggedJobs( inTag ); },
    []( XJobQueue& q, std::int64_t ) { q.ResumeAllJobs(); },
    []( XJobQueue& q, std::int64_t inTag ) { q.PostMessageTaggedJobs( inTag, XMessageVoid( &q ) ); },
    WaitAWhile, []( XJobQueue& q, std::int64_t ) { q.Start(); },
    // From here on, only where jobs may go uncompleted.
    []( XJobQueue& q, std::int64_t ) { q.AsyncStop(); },
    []( XJobQueue& q, std::int64_t inTag ) { q.DeleteTaggedJobs( inTag ); },
    []( XJobQueue& q, std::int64_t inTag ) { q.DeleteJobGroup( inTag % 3 ); },
    []( XJobQueue& q, std::int64_t ) { q.DeleteAllJobs(); } };
constexpr unsigned kHarmlessActions = 9;

/// A queue that threads use under a shared lock.
struct Slot
{
    void Renew()
    {
        const std::unique_lock lock( mutex );
        queue.reset();
        queue = std::make_unique<XJobQueue>();
        listener = std::make_unique<XListener>();
        listener->Subscribe( *queue );
        queue->Start();
    }

    std::shared_mutex mutex;
    std::unique_ptr<XListener> listener;
    std::unique_ptr<XJobQueue> queue;
};

/// The first queue stays, and with it the jobs whose tag nobody stops; in the first two no job is deleted.
void Step( std::array<Slot, 4>& ioSlots, Counts& ioCounts, Random& ioRandom )
{
    const auto choice = static_cast<unsigned>( ioRandom() >> 8 );
    const USize index = choice % ioSlots.size();
    const bool mayEnd = index > 0;
    const bool mayDelete = index > 1;
    const unsigned action = choice / 8 % 40;
    Slot& slot = ioSlots[index];
    if ( action == 0 && mayEnd )
        return slot.Renew();
    const std::shared_lock lock( slot.mutex );
    if ( action < 20 )
        return slot.queue->AttachJob( new StressJob( ioCounts, choice, mayDelete, mayEnd ), action == 1 );
    const auto actions = mayDelete ? static_cast<unsigned>( std::size( kActions ) ) : kHarmlessActions;
    kActions[action % actions]( *slot.queue, choice % 4 + 1 );
}

} // namespace

TEST( XJobQueueStressTest, EveryJobIsCompletedExactlyOnce )
{
    Counts counts;
    {
        std::array<Slot, 4> slots;
        for ( Slot& slot : slots )
            slot.Renew();
        std::atomic<unsigned> running = kThreads;
        std::vector<std::jthread> threads;
        for ( unsigned thread = 1; thread <= kThreads; ++thread )
            threads.emplace_back(
                [&, thread]
                {
                    Random random( static_cast<unsigned>( GTEST_FLAG_GET( random_seed ) ) * 64 + thread );
                    for ( int step = 0; step < kSteps; ++step )
                        Step( slots, counts, random );
                    --running;
                } );
        while ( running > 0 )
        {
            XSpeaker::ProcessAllNextEventMessages();
            std::this_thread::yield();
        }
        threads.clear();
        slots[0].queue->ResumeAllJobs();
        slots[0].queue->WaitForQueueEmpty();
    }
    EXPECT_GT( counts.completed, 1000 );
    EXPECT_EQ( counts.gone, counts.made );
    EXPECT_EQ( counts.lost, 0 );
    EXPECT_EQ( counts.completedTwice, 0 );
    EXPECT_EQ( counts.strayStops, 0 );
}

// Jobs own queues whose jobs stop all queues, while other threads do so too.
TEST( XJobQueueStressTest, AllQueuesAreStoppedWhileTheyComeAndGo )
{
    constexpr int kTurns = 60;
    Counts counts;
    const auto attach = [&]( XJobQueue& ioQueue, int inTurn )
    {
        for ( int job = 0; job < 4; ++job )
            ioQueue.AttachJob( new OwningJob( counts, inTurn + job ), job == 3 );
        ioQueue.Start();
        while ( ioQueue.GetQueuedJobCount() == 3 ) // until one runs, or all are stopped
            std::this_thread::yield();
    };
    const auto work = [&]
    {
        for ( int turn = 0; turn < kTurns; ++turn )
        {
            XJobQueue queue;
            attach( queue, turn );
            if ( turn % 3 == 0 )
                XJobQueue::StopAllJobQueues();
            queue.Stop();
            EXPECT_EQ(
                queue.GetQueuedJobCount() + queue.GetRunningJobCount() + queue.GetSuspendedJobCount(), 0u );
            EXPECT_NO_THROW( queue.WaitForQueueEmpty( 60000 ) ); // for those that others have stopped
        }
    };
    RunTogether( work, work, work, work );
    EXPECT_GE( counts.made, kTurns * 4 * static_cast<int>( kThreads ) );
    EXPECT_EQ( counts.made, counts.gone );
    EXPECT_EQ( counts.completedTwice, 0 );
}
