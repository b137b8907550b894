#pragma once

#include "Core/XException.h"
#include "Jobs/XJob.h"
#include "Jobs/XJobQueue.h"
#include "Messaging/XMessageVoid.h"
#include "Threads/XThread.h"

#include <array>
#include <atomic>
#include <memory>
#include <random>
#include <shared_mutex>
#include <thread>
#include <vector>

/// Threads attach, suspend, resume, stop, delete and tell jobs of a few queues while these run, are started,
/// stopped and destroyed, and the main thread drains. Counted at the end: every job was completed exactly
/// once, unless it was deleted.
class JobStress
{
public:
    struct Counts
    {
        std::atomic<int> made = 0;
        std::atomic<int> gone = 0;
        std::atomic<int> completed = 0;
        std::atomic<int> lost = 0; // never completed though nobody deleted it, or though it has run
        std::atomic<int> completedTwice = 0;
        std::atomic<int> strayStops = 0; // stopped though nobody stops its tag
    };

    /// Runs on the main thread until `inThreads` threads have taken `inSteps` steps each.
    void Run( unsigned inThreads, int inSteps, unsigned inSeed )
    {
        for ( Slot& slot : itsSlots )
            slot.Renew();
        std::atomic<unsigned> running = inThreads;
        std::vector<std::thread> threads;
        for ( unsigned thread = 0; thread < inThreads; ++thread )
            threads.emplace_back(
                [&, thread]
                {
                    Random random( inSeed * 64 + thread + 1 );
                    for ( int step = 0; step < inSteps; ++step )
                        Step( random );
                    --running;
                } );
        while ( running > 0 )
        {
            XSpeaker::ProcessAllNextEventMessages();
            std::this_thread::yield();
        }
        for ( std::thread& thread : threads )
            thread.join();
        itsSlots[0].queue->ResumeAllJobs();
        itsSlots[0].queue->WaitForQueueEmpty();
        for ( Slot& slot : itsSlots )
            slot.queue.reset();
    }

    const Counts& GetCounts() const { return itsCounts; }

private:
    using Random = std::minstd_rand;

    static constexpr std::int64_t kNeverStopped = 100;
    static constexpr std::uint32_t kPatienceMs = 2;

    class Job : public XJob
    {
    public:
        Job( Counts& ioCounts, unsigned inKind, bool inMayBeDeleted, bool inMayBeStopped )
            : itsCounts( ioCounts ), itsKind( inKind ), itsMayBeDeleted( inMayBeDeleted ),
              itsMayBeStopped( inMayBeStopped )
        {
            ++itsCounts.made;
            SetTag( inKind % 5 == 0 ? kNeverStopped : inKind % 4 + 1 );
            SetGroup( inKind % 3 );
        }
        ~Job() override
        {
            StopListening();
            ++itsCounts.gone;
            if ( itsCompletions == 0 && ( itsHasRun || !itsMayBeDeleted ) )
                ++itsCounts.lost;
            if ( itsCompletions > 1 )
                ++itsCounts.completedTwice;
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
            if ( inResultCode == kStopped && GetTag() == kNeverStopped && !itsMayBeStopped )
                ++itsCounts.strayStops;
            if ( itsKind % 7 == 0 )
                throw 7;
        }

    private:
        Counts& itsCounts;
        const unsigned itsKind;
        const bool itsMayBeDeleted;
        const bool itsMayBeStopped;
        bool itsHasRun = false;
        int itsCompletions = 0;
    };

    class Listener : public XListener
    {
    public:
        explicit Listener( const XSpeaker& inQueue ) { Subscribe( inQueue ); }
    };

    /// A queue that threads use under a shared lock.
    struct Slot
    {
        void Renew()
        {
            queue.reset();
            queue = std::make_unique<XJobQueue>();
            listener = std::make_unique<Listener>( *queue );
            queue->Start();
        }

        std::shared_mutex mutex;
        std::unique_ptr<Listener> listener;
        std::unique_ptr<XJobQueue> queue;
    };

    void Step( Random& ioRandom )
    {
        const auto choice = static_cast<unsigned>( ioRandom() >> 8 );
        const USize index = choice % itsSlots.size();
        Slot& slot = itsSlots[index];
        const unsigned action = choice / 8 % 40;
        const bool mayEnd = index > 0; // the first queue stays, and with it the jobs whose tag nobody stops
        if ( action == 0 && mayEnd )
        {
            const std::unique_lock lock( slot.mutex );
            return slot.Renew();
        }
        const std::shared_lock lock( slot.mutex );
        const bool mayDelete = index > 1;
        if ( action < 20 )
            return slot.queue->AttachJob( new Job( itsCounts, choice, mayDelete, mayEnd ), action == 1 );
        Act( *slot.queue, action, choice % 4 + 1, mayDelete );
    }

    static void Act( XJobQueue& ioQueue, unsigned inAction, std::int64_t inTag, bool inMayDelete )
    {
        switch ( inAction )
        {
        case 20:
        case 21:
            return ioQueue.StopTaggedJobs( inTag );
        case 22:
            return ioQueue.AsyncStopTaggedJobs( { inTag, 1 } );
        case 23:
            return ioQueue.SuspendTaggedJobs( inTag );
        case 24:
            return ioQueue.AsyncSuspendAllJobs();
        case 25:
            return ioQueue.ResumeTaggedJobs( inTag );
        case 26:
        case 27:
            return ioQueue.ResumeAllJobs();
        case 28:
            return ioQueue.PostMessageTaggedJobs( inTag, XMessageVoid( &ioQueue ) );
        case 29:
            return WaitAWhile( ioQueue );
        default:
            if ( inMayDelete )
                ActOnDeletable( ioQueue, inAction, inTag );
            else
                ioQueue.Start();
        }
    }

    static void ActOnDeletable( XJobQueue& ioQueue, unsigned inAction, std::int64_t inTag )
    {
        switch ( inAction )
        {
        case 30:
            return ioQueue.DeleteTaggedJobs( inTag );
        case 31:
            return ioQueue.DeleteJobGroup( inTag % 3 );
        case 32:
            return ioQueue.AsyncStop();
        case 33:
            return ioQueue.DeleteAllJobs();
        default:
            return ioQueue.Start();
        }
    }

    static void WaitAWhile( XJobQueue& ioQueue )
    {
        try
        {
            ioQueue.WaitForQueueEmpty( kPatienceMs );
        }
        catch ( const XException& ) // 2701, as likely as not
        {
        }
    }

    Counts itsCounts;
    std::array<Slot, 4> itsSlots;
};
