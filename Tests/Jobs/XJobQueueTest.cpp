#include "Jobs/XJobQueue.h"

#include "Core/Errors/XErrorLog.h"
#include "Core/Strings/XString.h"
#include "Jobs/XJobCompletedMessage.h"
#include "Jobs/XProgressStrategyChanger.h"
#include "Messaging/XMessageVoid.h"
#include "Process/WMainLoop.h"
#include "TestJob.h"
#include "Threads/XPreventThreadStop.h"
#include "Threads/XStopThreadException.h"

namespace
{

using Codes = std::vector<std::uint32_t>;
using Tags = std::vector<std::int64_t>;
using XJobCompletedMessage = XJobQueue::XJobCompletedMessage;

constexpr std::uint32_t kStopped = XJob::kStopped;

void DoNothing() {}

/// Remembers what is told from any thread, in order.
template<class T>
struct Record
{
    void Add( T inValue )
    {
        const std::lock_guard lock( itsMutex );
        itsValues.push_back( inValue );
    }
    auto Adder()
    {
        return [this]( T inValue ) { Add( inValue ); };
    }
    std::vector<T> Get() const
    {
        const std::lock_guard lock( itsMutex );
        return itsValues;
    }

private:
    mutable std::mutex itsMutex;
    std::vector<T> itsValues;
};

struct CompletionListener : XListener
{
    explicit CompletionListener( const XSpeaker& inQueue ) { Subscribe( inQueue ); }
    void HandleMessage( const XMessage& inMessage ) override
    {
        const auto& message = dynamic_cast<const XJobCompletedMessage&>( inMessage );
        tags.push_back( message.GetTag() );
        codes.push_back( message.GetResultCode() );
    }

    Tags tags;
    Codes codes;
};

/// Tells what it hears: the tag for a message, the negative tag when it is resumed.
struct HearingJob : XJob
{
    HearingJob( std::int64_t inTag, Record<std::int64_t>& outHeard ) : itsHeard( outHeard )
    {
        SetTag( inTag );
    }
    void HandleMessage( const XMessage& ) override { itsHeard.Add( GetTag() ); }
    void Resumed() override { itsHeard.Add( -GetTag() ); }

protected:
    void RunJobSelf() override {}

private:
    Record<std::int64_t>& itsHeard;
};

struct XJobQueueTest : testing::Test
{
    void Attach( TestJob::XBody inBody, std::int64_t inTag = 0 )
    {
        itsQueue.AttachJob( new TestJob( std::move( inBody ), inTag, itsCodes.Adder() ) );
    }

    /// Returns when the job runs.
    void AttachRunning( std::int64_t inTag, TestJob::XBody inBody = RunUntilStopped )
    {
        Gate running( 1 );
        Attach(
            [&running, inBody]
            {
                running.CountDown();
                inBody();
            },
            inTag );
        running.Wait();
    }

    /// Attaches a job for each worker that ends when all of them run.
    void AttachForAllWorkers()
    {
        const auto all = std::make_shared<Gate>( XThread::GetProcessorCount() );
        for ( std::uint32_t job = 0; job < XThread::GetProcessorCount(); ++job )
            Attach(
                [all]
                {
                    all->CountDown();
                    all->Wait();
                } );
    }

    Record<std::uint32_t> itsCodes;
    Record<std::int64_t> itsHeard;
    XJobQueue itsQueue;
};

} // namespace

TEST_F( XJobQueueTest, AStoppedQueueKeepsItsJobsAndAStartRunsThemOnAllWorkers )
{
    XJobQueue other;
    other.Start(); // idle workers have long looked for jobs in vain
    const auto count = XThread::GetProcessorCount();
    AttachForAllWorkers();
    Attach( DoNothing );
    EXPECT_EQ( itsQueue.GetQueuedJobCount(), count + 1 );
    itsQueue.Start();
    itsQueue.WaitForQueueEmpty();
    EXPECT_EQ( itsCodes.Get(), Codes( count + 1, 0 ) );
    EXPECT_TRUE( itsQueue.IsEmpty() );
}

TEST_F( XJobQueueTest, AJobIsRefusedWhileItsTagWaitsOrRuns )
{
    Attach( DoNothing, 5 );
    EXPECT_FALSE( itsQueue.AttachJobIfTagNotPresent( new TestJob( DoNothing, 5, itsCodes.Adder() ) ) );
    EXPECT_TRUE( itsQueue.AttachJobIfTagNotPresent( new TestJob( DoNothing, 6, itsCodes.Adder() ) ) );
    itsQueue.Start();
    itsQueue.WaitForQueueEmpty();
    AttachRunning( 5 );
    EXPECT_FALSE( itsQueue.AttachJobIfTagNotPresent( new TestJob( DoNothing, 5, itsCodes.Adder() ) ) );
    itsQueue.StopTaggedJobs( 5 );
    EXPECT_TRUE( itsQueue.AttachJobIfTagNotPresent( new TestJob( DoNothing, 5, itsCodes.Adder() ) ) );
    itsQueue.WaitForQueueEmpty();
    EXPECT_EQ( itsCodes.Get(), ( Codes{ 0, 0, kStopped, 0 } ) );
}

TEST_F( XJobQueueTest, WhateverABodyThrowsBecomesTheResultAndNoWorkerIsLost )
{
    const std::vector<TestJob::XBody> bodies{
        [] { throw 7; }, [] { throw std::runtime_error( "body" ); }, [] { throw XException( 1005 ); },
        [] { throw XStopThreadException( kStopped ); }, [] { throw XStopThreadException( 77 ); } };
    const Codes codes{ 1006, 1006, 1005, kStopped, 77 };
    itsQueue.Start();
    for ( USize index = 0; index < bodies.size() * 4; ++index )
    {
        Attach( bodies[index % bodies.size()] );
        itsQueue.WaitForQueueEmpty();
        ASSERT_EQ( itsCodes.Get().back(), codes[index % bodies.size()] );
    }
    AttachForAllWorkers();
    itsQueue.WaitForQueueEmpty();
}

TEST_F( XJobQueueTest, CompletionHappensWhereTheJobAllowsAndIsAnnouncedOnTheMainThread )
{
    const CompletionListener listener( itsQueue );
    Record<bool> onMain;
    const auto completed = [&]( std::uint32_t ) { onMain.Add( XThread::IsMainThread() ); };
    itsQueue.AttachJob( ( new TestJob( DoNothing, 3, completed ) )->OnWorker() );
    for ( int alike = 0; alike < 2; ++alike ) // each is announced
        itsQueue.AttachJob( new TestJob( [] { throw XException( 1005 ); }, 4, completed ) );
    itsQueue.Start();
    std::thread( [&] { itsQueue.WaitForQueueEmpty(); } ).join();
    EXPECT_EQ( onMain.Get(), ( std::vector{ false } ) );
    EXPECT_EQ( itsQueue.GetJobCount(), 2u );
    EXPECT_TRUE( itsQueue.IsQueueEmpty() );
    while ( XSpeaker::IsNextEventMessageToProcess() )
        XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( onMain.Get(), ( std::vector{ false, true, true } ) );
    EXPECT_EQ( listener.tags, ( Tags{ 3, 4, 4 } ) );
    EXPECT_EQ( listener.codes, ( Codes{ 0, 1005, 1005 } ) );
}

TEST_F( XJobQueueTest, CompletesItsJobsWhenItsMessagesAreWithdrawn )
{
    CompletionListener listener( itsQueue );
    XSpeaker::ProcessAllNextEventMessages(); // clears the wake-up of the main loop
    itsQueue.Start();
    const auto withdraw = []( const auto& inSelector )
    { return XSpeaker::RemoveFromDelayedQueue( XSpeaker::kWhenNextEvent, inSelector ); };
    for ( const std::int64_t tag : { 1, 2 } )
    {
        Attach( DoNothing, tag );
        std::thread( [this] { itsQueue.WaitForQueueEmpty(); } ).join(); // off the main thread: nothing drains
        EXPECT_TRUE( WMainLoop::WaitForHandle( WMainLoop::GetWaitHandle(), 10'000 ) );
        EXPECT_EQ( withdraw( XSpeaker::XRemoveMsgsSentBySpeaker( itsQueue ) ), 0u );
        EXPECT_EQ( withdraw( []( const XSpeaker::XDeferredMessageRecord& ) { return true; } ), 0u );
    }
    itsQueue.WaitForQueueEmpty();
    EXPECT_EQ( itsCodes.Get(), ( Codes{ 0, 0 } ) );
    EXPECT_EQ( withdraw( XSpeaker::XRemoveMsgsSentBySpeaker( itsQueue ) ), 2u ); // the announcements
    EXPECT_TRUE( itsQueue.IsEmpty() && listener.codes.empty() );
}

TEST_F( XJobQueueTest, WhatABodyThrowsIsLoggedWithItsTypeAndItsJob )
{
    static Record<std::string> sLogged; // for handlers that capture nothing
    const auto previous = XErrorLog::Install(
        { []( const XException& inException, const XString& inOrigin )
          { sLogged.Add( std::string( inOrigin ) + "|" + inException.what() ); },
          []( const XString& inTypeAndText, const XString& inOrigin )
          { sLogged.Add( std::string( inOrigin ) + "|" + std::string( inTypeAndText ) ); } } );
    itsQueue.Start();
    const std::vector<std::function<void()>> bodies = {
        [] { throw std::runtime_error( "no such plane" ); }, [] { throw XException( 1021 ); },
        [] { throw 4; }, [] { throw XException( 1001 ); } };
    for ( USize i = 0; i < bodies.size(); ++i )
    {
        itsQueue.AttachJob( new TestJob( bodies[i], static_cast<std::int64_t>( i ) ) );
        itsQueue.WaitForQueueEmpty();
    }
    XErrorLog::Install( previous );
    const std::vector<std::string> expected = {
        "job TestJob|std::runtime_error: no such plane", "job TestJob, tag 1|access was denied (1021)",
        "job TestJob, tag 2|exception of type int" };
    EXPECT_EQ( sLogged.Get(), expected );
}

TEST_F( XJobQueueTest, AQueueIsNotEmptyWhileItsStoppedJobsAreBeingCompleted )
{
    Gate isCompleting( 1 );
    Gate mayEnd( 1 );
    const auto complete = [&]( std::uint32_t )
    {
        EXPECT_TRUE( itsQueue.IsQueueEmpty() ); // but for the job that asks
        isCompleting.CountDown();
        mayEnd.Wait();
    };
    itsQueue.AttachJob( new TestJob( DoNothing, 1, complete ) );
    std::thread stopper( [&] { itsQueue.StopTaggedJobs( 1 ); } );
    isCompleting.Wait();
    EXPECT_FALSE( itsQueue.IsQueueEmpty() );
    EXPECT_EQ( itsQueue.GetJobCount(), 1u );
    EXPECT_ERROR( 2701, itsQueue.WaitForQueueEmpty( 1 ) );
    std::thread waiter( [&] { itsQueue.WaitForQueueEmpty(); } );
    mayEnd.CountDown();
    waiter.join();
    stopper.join();
    EXPECT_TRUE( itsQueue.IsEmpty() );
}

TEST_F( XJobQueueTest, ACompletionIsSpokenToThoseWhoListenAtTheNextEvent )
{
    itsQueue.Start();
    for ( const std::int64_t tag : { 1, 2, 2 } )
    {
        itsQueue.AttachJob( ( new TestJob( DoNothing, tag ) )->OnWorker() );
        while ( !itsQueue.IsQueueEmpty() )
            XThread::YieldCurrentThread();
    }
    CompletionListener late( itsQueue );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( late.tags, ( Tags{ 1, 2, 2 } ) );
}

TEST_F( XJobQueueTest, AWaitWithinAHandlerLeavesNoJobUncompleted )
{
    struct Handler : XListener
    {
        explicit Handler( std::function<void()> inAction ) : itsAction( std::move( inAction ) ) {}
        void HandleMessage( const XMessage& ) override { itsAction(); }

    private:
        const std::function<void()> itsAction;
    };
    itsQueue.Start();
    int completedCount = 0;
    const auto complete = [&]( std::uint32_t ) { ++completedCount; };
    Handler handler(
        [&]
        {
            itsQueue.AttachJob( new TestJob( DoNothing, 1, complete ) );
            itsQueue.AttachJob( new TestJob( DoNothing, 2, complete ) );
            itsQueue.WaitForQueueEmpty();
            EXPECT_EQ( completedCount, 2 );
        } );
    XSpeaker::PostXMessage( XMessageVoid(), handler, XSpeaker::kWhenNextEvent );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( completedCount, 2 );
    EXPECT_TRUE( itsQueue.IsEmpty() );
}

TEST_F( XJobQueueTest, TagsAndGroupsSelectInTheOrderOfAttachment )
{
    Record<std::int64_t> stopped;
    for ( std::int64_t i = 0; i < 12; ++i )
        itsQueue.AttachJob(
            ( new TestJob( DoNothing, i % 4, [&, i]( std::uint32_t ) { stopped.Add( i ); } ) )
                ->InGroup( i % 3 ),
            i % 2 == 1 );
    const XVector<std::int64_t> tags = { 3, 2, 3, 9 };
    EXPECT_TRUE( itsQueue.StopTaggedJobsIfNotRunning( tags ) );
    EXPECT_EQ( stopped.Get(), ( Tags{ 2, 6, 10, 3, 7, 11 } ) ); // those that wait, then the suspended ones
    itsQueue.DeleteJobGroup( 1 );
    EXPECT_EQ( itsQueue.GetQueuedJobCount() + itsQueue.GetSuspendedJobCount(), 4u ); // 0, 5, 8, 9
    itsQueue.DeleteJobGroup( 0 );
    EXPECT_EQ( itsQueue.GetQueuedJobCount(), 1u );
    EXPECT_EQ( itsQueue.GetSuspendedJobCount(), 1u );
    EXPECT_FALSE( itsQueue.AttachJobIfTagNotPresent( new TestJob( DoNothing, 0 ) ) );
    EXPECT_TRUE( itsQueue.AttachJobIfTagNotPresent( new TestJob( DoNothing, 1 ) ) ); // 5 is suspended
    itsQueue.DeleteAllJobs();
    EXPECT_TRUE( itsQueue.IsEmpty() );
}

TEST_F( XJobQueueTest, HooksThatThrowDisturbNobody )
{
    struct ThrowingJob : XJob
    {
        ThrowingJob( Record<std::uint32_t>& outCodes, int inHook ) : codes( outCodes ), hook( inHook ) {}
        bool ThrowIf( bool inThrows, bool inResult = true ) const { return inThrows ? throw 1 : inResult; }
        bool CanCompleteInJobThread() override { return ThrowIf( hook == 0, hook % 2 == 0 ); }
        bool ShouldSendCompletedMessage() override { return ThrowIf( hook == 1 ); }
        void SpeakCompletedMessage() override { ThrowIf( hook == 2 ); }
        void Stopped() override { ThrowIf( hook == 3 ); }
        void Suspended() override { ThrowIf( hook == 4 ); }
        void Resumed() override { ThrowIf( hook == 4 ); }
        void RunJobSelf() override
        {
            if ( hook == 3 )
                throw XStopThreadException( kStopped );
        }
        void JobCompleteSelf( std::uint32_t inResultCode ) override
        {
            codes.Add( inResultCode );
            throw 2;
        }

        Record<std::uint32_t>& codes;
        const int hook;
    };
    for ( int hook = 0; hook < 5; ++hook )
        itsQueue.AttachJob( new ThrowingJob( itsCodes, hook ) );
    itsQueue.SuspendAllJobs();
    itsQueue.ResumeAllJobs();
    itsQueue.Start();
    itsQueue.WaitForQueueEmpty();
    for ( int hook = 0; hook < 5; ++hook )
        itsQueue.AttachJob( new ThrowingJob( itsCodes, hook ), true );
    itsQueue.Stop();
    Codes codes = itsCodes.Get();
    std::sort( codes.begin(), codes.end() );
    EXPECT_EQ( codes, ( Codes{ 0, 0, 0, 0, kStopped, kStopped, kStopped, kStopped, kStopped, kStopped } ) );
}

TEST_F( XJobQueueTest, StoppingTakesWhatWaitsAndEndsWhatRuns )
{
    itsQueue.Start();
    AttachRunning( 1 );
    itsQueue.AsyncSuspendAllJobs(); // touches nothing that runs
    EXPECT_EQ( itsQueue.GetRunningJobCount(), 1u );
    std::atomic<int> ran = 0;
    itsQueue.AttachJob( new TestJob( [&] { ++ran; }, 1, itsCodes.Adder() ), true );
    itsQueue.AttachJob( new HearingJob( 2, itsHeard ), true );
    itsQueue.StopTaggedJobs( { 1, 7 } );
    EXPECT_EQ( itsQueue.GetRunningJobCount(), 0u );
    EXPECT_EQ( itsQueue.GetSuspendedJobCount(), 1u );
    EXPECT_TRUE( itsQueue.StopTaggedJobsIfNotRunning( 0 ) );
    EXPECT_FALSE( itsQueue.StopTaggedJobsIfNotRunning( {} ) );
    EXPECT_EQ( itsHeard.Get(), ( Tags{ -2 } ) );
    itsQueue.WaitForQueueEmpty( 0 );
    EXPECT_EQ( itsCodes.Get(), ( Codes{ kStopped, kStopped } ) );
    EXPECT_EQ( ran, 0 );
}

TEST_F( XJobQueueTest, SuspendedJobsKeepTheirOrderAndQueueUpAgainAtTheEnd )
{
    Record<std::int64_t> ran;
    for ( const std::int64_t tag : { 1, 2, 1, 3, 2 } )
        Attach( [&ran, tag] { ran.Add( tag ); }, tag );
    itsQueue.AttachJob( new HearingJob( 9, itsHeard ) );
    itsQueue.SuspendTaggedJobs( XVector<std::int64_t>{ 1, 3 } );
    EXPECT_EQ( itsQueue.GetSuspendedJobCount(), 3u );
    EXPECT_EQ(
        XJobQueue::GetDebugStatus(), XString( "Jobs queued: 3\rJobs running: 0\rJobs suspended: 3\r" ) );
    itsQueue.ResumeTaggedJobs( 9 );
    EXPECT_EQ( itsHeard.Get(), ( Tags{ -9 } ) ); // though it waited all along
    itsQueue.ResumeTaggedJobs( 1 );
    // One after another, so that the order can be told.
    Gate blocked( XThread::GetProcessorCount() - 1 );
    XJobQueue other;
    for ( std::uint32_t job = 1; job < XThread::GetProcessorCount(); ++job )
        other.AttachJob( new TestJob(
            [&]
            {
                blocked.CountDown();
                RunUntilStopped();
            } ) );
    other.Start();
    blocked.Wait();
    itsQueue.Start();
    std::thread( [&] { itsQueue.WaitForJobWeightUnderCommit( 2.0 / XThread::GetProcessorCount() ); } ).join();
    EXPECT_EQ( ran.Get(), ( Tags{ 2, 2, 1, 1 } ) );
    itsQueue.ResumeAllJobs();
    itsQueue.WaitForQueueEmpty();
    EXPECT_EQ( ran.Get(), ( Tags{ 2, 2, 1, 1, 3 } ) );
}

TEST_F( XJobQueueTest, AJobMayStopAndSuspendItsOwnQueue )
{
    itsQueue.Start();
    std::atomic<bool> isBeyond = false;
    Attach(
        [&]
        {
            itsQueue.SuspendAllJobs(); // does not wait for itself
            itsQueue.StopTaggedJobs( 0 );
            isBeyond = true;
        } );
    itsQueue.WaitForQueueEmpty();
    EXPECT_FALSE( isBeyond );
    EXPECT_EQ( itsCodes.Get(), ( Codes{ kStopped } ) );
}

TEST_F( XJobQueueTest, AJobStopsAllQueuesAndItselfLast )
{
    XJobQueue later;
    const auto attachLater = [&]( bool inSuspended )
    { later.AttachJob( new TestJob( RunUntilStopped, 0, itsCodes.Adder() ), inSuspended ); };
    std::atomic<bool> isBeyond = false;
    Attach(
        [&]
        {
            XJobQueue::StopAllJobQueues();
            isBeyond = true;
        } );
    attachLater( false );
    attachLater( true );
    later.Start();
    itsQueue.Start();
    itsQueue.WaitForQueueEmpty();
    later.WaitForQueueEmpty();
    EXPECT_FALSE( isBeyond );
    EXPECT_FALSE( later.IsRunning() );
    EXPECT_EQ( itsCodes.Get(), ( Codes{ kStopped, kStopped, kStopped } ) );
}

TEST_F( XJobQueueTest, DeletedJobsAreNotCompletedUnlessTheyRun )
{
    itsQueue.Start();
    AttachRunning( 1 );
    itsQueue.AttachJob( ( new TestJob( DoNothing, 1, itsCodes.Adder() ) )->InGroup( 8 ), true );
    itsQueue.AttachJob( ( new TestJob( DoNothing, 2, itsCodes.Adder() ) )->InGroup( 9 ), true );
    itsQueue.AttachJob( new TestJob( DoNothing, 3, itsCodes.Adder() ), true );
    itsQueue.DeleteJobGroup( 8 );
    EXPECT_EQ( itsQueue.GetJobCount(), 3u );
    EXPECT_TRUE( itsQueue.DeleteTaggedJobsIfNotRunning( { 1, 2 } ) );
    EXPECT_EQ( itsQueue.GetCurrentJobWeight(), 2u );
    itsQueue.DeleteTaggedJobs( 1 );
    EXPECT_EQ( itsQueue.GetRunningJobCount(), 0u );
    itsQueue.DeleteAllJobs();
    itsQueue.WaitForQueueEmpty( 0 );
    EXPECT_EQ( itsCodes.Get(), ( Codes{ kStopped } ) );
}

TEST_F( XJobQueueTest, MessagesReachTheSelectedJobsOnce )
{
    for ( const std::int64_t tag : { 1, 2, 3 } )
        itsQueue.AttachJob( new HearingJob( tag, itsHeard ), tag == 3 );
    itsQueue.PostMessageTaggedJobs( { 2, 3 }, XMessageVoid( &itsQueue ) );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( itsHeard.Get(), ( Tags{ 2, 3 } ) );
    itsQueue.PostMessageJobs( XMessageVoid( &itsQueue ) );
    itsQueue.DeleteTaggedJobs( 1 ); // with its message
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( itsHeard.Get(), ( Tags{ 2, 3, 2, 3 } ) );
}

TEST_F( XJobQueueTest, WaitsEndByTheirTimeByAnAbortAndByAStop )
{
    itsQueue.Start();
    AttachRunning( 1 );
    EXPECT_ERROR( 1006, itsQueue.AttachJob( nullptr ) );
    EXPECT_ERROR( 1006, itsQueue.WaitForTerminate() ); // for ever, while the queue runs
    EXPECT_ERROR( 2701, itsQueue.WaitForQueueEmpty( 1 ) );
    AbortingStrategy strategy;
    {
        const XProgressStrategyChanger changer( &strategy );
        EXPECT_ERROR( 1001, itsQueue.WaitForQueueEmptyWithProgress() );
        EXPECT_ERROR( 1001, itsQueue.WaitForQueueEmptyWithIndeterminateProgress() );
    }
    XJobQueue waiting;
    waiting.AttachJob( new TestJob( [&] { itsQueue.WaitForQueueEmpty(); }, 0, itsCodes.Adder() ) );
    waiting.Start();
    if ( XThread::GetProcessorCount() > 1 )
        while ( waiting.GetRunningJobCount() == 0 )
            std::this_thread::yield();
    waiting.Stop();
    itsQueue.StopTaggedJobs( 0 );
    itsQueue.WaitForFreeWorkerThread();
    itsQueue.WaitForQueueEmptyWithProgress();
    EXPECT_EQ( itsQueue.GetFreeWorkerThreadsCount(), XThread::GetProcessorCount() );
    EXPECT_EQ( itsCodes.Get(), ( Codes{ kStopped, kStopped } ) );
}

TEST_F( XJobQueueTest, TheJobsStrategyIsInstalledWhileItRuns )
{
    XThreadProgressStrategy strategy;
    XProgressStrategy* found = nullptr;
    std::atomic<bool> isFoundLater = false;
    const auto job = new TestJob( [&] { found = XProgress::GetProgressStrategy(); } );
    job->SetProgressStrategy( &strategy );
    itsQueue.AttachJob( job );
    for ( std::uint32_t worker = 0; worker < 2 * XThread::GetProcessorCount(); ++worker )
        Attach( [&] { isFoundLater = isFoundLater || XProgress::GetProgressStrategy(); } );
    itsQueue.Start();
    itsQueue.WaitForQueueEmpty();
    EXPECT_EQ( found, &strategy );
    EXPECT_FALSE( isFoundLater );
}

TEST_F( XJobQueueTest, ADestroyedQueueHasCompletedItsJobs )
{
    {
        XJobQueue queue;
        Gate running( 1 );
        queue.AttachJob( new TestJob( [] { throw XException( 1005 ); }, 1, itsCodes.Adder() ) );
        queue.Start();
        std::thread( [&] { queue.WaitForQueueEmpty(); } ).join();
        const auto run = [&]
        {
            running.CountDown();
            RunUntilStopped();
        };
        queue.AttachJob( new TestJob( run, 2, itsCodes.Adder() ) );
        running.Wait();
        queue.AttachJob( new TestJob( DoNothing, 3, itsCodes.Adder() ), true );
    }
    EXPECT_EQ( itsCodes.Get(), ( Codes{ kStopped, 1005, kStopped } ) );
    XSpeaker::ProcessAllNextEventMessages();
}

TEST_F( XJobQueueTest, AllQueuesStopTogetherAndAStartBringsNewWorkersAfterTheirEnd )
{
    itsQueue.Start();
    AttachRunning( 1 );
    XJobQueue other;
    other.AttachJob( new TestJob( DoNothing, 1, itsCodes.Adder() ) );
    XJobQueue::StopAllJobQueues();
    EXPECT_FALSE( itsQueue.IsRunning() );
    EXPECT_TRUE( itsQueue.IsQueueEmpty() && other.IsEmpty() );
    itsQueue.Start();
    AttachRunning( 1 );
    XJobQueue::EndWorkerThreads();
    EXPECT_TRUE( itsQueue.IsQueueEmpty() );
    Attach( DoNothing );
    EXPECT_EQ( itsQueue.GetQueuedJobCount(), 1u );
    itsQueue.Start();
    itsQueue.WaitForQueueEmpty();
    EXPECT_EQ( itsCodes.Get(), ( Codes{ kStopped, kStopped, 2702, 0 } ) );
}
