#include "NetJobs/XNetJobQueue.h"

#include "Jobs/TestJob.h"
#include "Jobs/XJobCompletedMessage.h"
#include "Jobs/XProgressChangedMessage.h"
#include "Messaging/Recorder.h"
#include "NetJobs/Internal/XStoredBytes.h"
#include "NetJobs/NumberJob.h"
#include "NetJobs/XControlBridge.h"
#include "NetJobs/XNetJobCompletedMessage.h"
#include "NetJobs/XNetJobControl.h"
#include "NetJobs/XNetJobDeployment.h"
#include "NetJobs/XNetJobQueueNode.h"
#include "NetJobs/XNetJobQueuePositionChangedMessage.h"
#include "RemoteCalls/TestBridge.h"
#include "Services/XAppVersion.h"

// A control service, nodes and a client in one process, over the loopback interface.

namespace
{

class XNetJobQueueTest : public testing::Test
{
protected:
    XNetJobQueueTest()
    {
        NumberJob::Register();
        itsControl.Start( XNetAddress::GetLoopBackAddress( 0 ) );
        itsDeployment.control = XNetAddress::GetLoopBackAddress( itsControl.GetPort() );
    }

    XNetJobQueueNode& AddNode( std::uint32_t inWorkers )
    {
        itsNodes.push_back( std::make_unique<XNetJobQueueNode>(
            itsDeployment,
            XNetJobQueueNode::XSettings{ "node", XNetJobQueueNode::kNodePermanent, inWorkers } ) );
        itsNodes.back()->Start();
        return *itsNodes.back();
    }
    void Attach( XNetJobQueue& ioQueue, std::uint32_t inNumber, bool inIsSuspended = false )
    {
        const auto completed = [this]( const NumberJob& inJob )
        {
            const auto* const result = dynamic_cast<const NumberResult*>( inJob.GetResult() );
            itsEnds[inJob.number].push_back( inJob.GetResultCode() );
            const bool hasResult = result && result->number == inJob.number;
            EXPECT_EQ( hasResult, inJob.GetResultCode() == 0 );
        };
        ioQueue.AttachJob( new NumberJob( inNumber, completed ), inIsSuspended );
    }
    /// Expects each of the jobs 1 to this number to have succeeded once.
    void ExpectEachEndedOnce( std::uint32_t inCount ) const
    {
        EXPECT_EQ( itsEnds.size(), inCount );
        for ( const auto& [number, codes] : itsEnds )
            EXPECT_EQ( codes, std::vector<std::uint32_t>{ 0 } ) << number;
    }
    /// Waits for what must happen, and handles messages.
    template<class TCondition>
    static bool Await( TCondition inCondition )
    {
        for ( const XTimer timer( kPatience ); !timer.HasExpired(); XThread::SleepCurrentThread( 5 ) )
        {
            XSpeaker::ProcessAllNextEventMessages();
            if ( inCondition() )
                return true;
        }
        return false;
    }

    XNetJobControl itsControl{ MakeTestCipher() };
    XNetJobDeployment itsDeployment{ {}, MakeTestCipher(), nullptr };
    std::vector<std::unique_ptr<XNetJobQueueNode>> itsNodes;
    std::map<std::uint32_t, std::vector<std::uint32_t>> itsEnds; // result codes of each job
};

} // namespace

TEST_F( XNetJobQueueTest, RunsJobsOnNodesAndCompletesEachOnceOnTheMainThread )
{
    constexpr std::uint32_t kJobs = 300;
    constexpr std::uint32_t kFailing = 301;
    constexpr std::uint32_t kThrowing = 302;
    NumberJob::sBody = [=]( std::uint32_t inNumber )
    {
        if ( inNumber == kFailing )
            XThrow( kErrorDiskFull );
        if ( inNumber == kThrowing )
            throw std::runtime_error( "a body" );
    };
    AddNode( 2 );
    AddNode( 1 );
    XNetJobQueue queue( itsDeployment );
    std::uint32_t results = 0;
    std::uint32_t completions = 0;
    const Recorder recorder(
        queue,
        [&]( const XMessage& inMessage )
        {
            EXPECT_TRUE( XThread::IsMainThread() );
            completions += dynamic_cast<const XJobQueue::XJobCompletedMessage*>( &inMessage ) != nullptr;
            if ( const auto* const message = dynamic_cast<const XNetJobCompletedMessage*>( &inMessage ) )
                results += dynamic_cast<const NumberResult*>( &message->GetResult() ) != nullptr;
        } );
    for ( std::uint32_t number = 1; number <= kThrowing; ++number )
        Attach( queue, number );
    for ( const std::uint32_t number : { NumberResult::kUnreadable, NumberJob::kUnstorable } )
        Attach( queue, number );
    EXPECT_FALSE( queue.AttachJobIfTagNotPresent( new NumberJob( 1 ) ) );
    queue.Start();
    queue.WaitForQueueEmpty( kPatience );
    EXPECT_EQ( std::exchange( itsEnds[kFailing], {} ), std::vector<std::uint32_t>{ kErrorDiskFull } );
    for ( const std::uint32_t number : { kThrowing, NumberResult::kUnreadable, NumberJob::kUnstorable } )
        EXPECT_EQ( std::exchange( itsEnds[number], {} ), std::vector<std::uint32_t>{ kErrorInternal } );
    std::erase_if( itsEnds, []( const auto& inEnd ) { return inEnd.second.empty(); } );
    ExpectEachEndedOnce( kJobs );
    XSpeaker::ProcessAllNextEventMessages();
    EXPECT_EQ( results, kJobs );
    EXPECT_EQ( completions, kThrowing + 2 );
    EXPECT_TRUE( Await( [&] { return itsControl.GetStatus().completedJobs == kThrowing + 1; } ) );
    EXPECT_EQ( itsControl.GetStatus().nodes.size(), 2u );
}

TEST_F( XNetJobQueueTest, StopsSuspendsAndResumesJobs )
{
    Gate hasStarted( 1 );
    std::atomic<bool> wasStopped = false;
    NumberJob::sBody = [&]( std::uint32_t inNumber )
    {
        if ( inNumber != 1 )
            return;
        hasStarted.CountDown();
        try
        {
            RunUntilStopped();
        }
        catch ( const XStopThreadException& )
        {
            wasStopped = true;
            throw;
        }
    };
    AddNode( 1 );
    XNetJobQueue queue( itsDeployment );
    Attach( queue, 1 );
    for ( const std::uint32_t number : { 2u, 3u, 4u } )
        Attach( queue, number );
    Attach( queue, 5, true );
    queue.Start();
    hasStarted.Wait();
    EXPECT_TRUE( Await( [&] { return queue.GetRunningJobCount() == 1; } ) );
    queue.AsyncSuspendTaggedJobs( { 2, 3 } );
    EXPECT_TRUE( queue.StopTaggedJobsIfNotRunning( 4 ) );
    EXPECT_TRUE( queue.DeleteTaggedJobsIfNotRunning( 3 ) );
    EXPECT_FALSE( queue.StopTaggedJobsIfNotRunning( 1 ) );
    EXPECT_EQ( queue.GetSuspendedJobCount(), 2u );
    queue.StopTaggedJobs( 1 );
    EXPECT_TRUE( Await( [&] { return wasStopped.load(); } ) );
    EXPECT_ERROR( 2701, queue.WaitForQueueEmpty( 300 ) ); // suspended jobs do not run
    queue.ResumeAllJobs();
    queue.WaitForQueueEmpty( kPatience );
    const std::map<std::uint32_t, std::vector<std::uint32_t>> expected{
        { 1, { XJob::kStopped } }, { 2, { 0 } }, { 4, { XJob::kStopped } }, { 5, { 0 } } };
    EXPECT_EQ( itsEnds, expected );
}

TEST_F( XNetJobQueueTest, LosesNoJobWhenTheControlServiceAndNodesFail )
{
    constexpr std::uint32_t kJobs = 400;
    NumberJob::sBody = []( std::uint32_t ) { XThread::SleepCurrentThread( 5, true ); };
    AddNode( 2 );
    AddNode( 2 );
    XNetJobQueue queue( itsDeployment );
    for ( std::uint32_t number = 1; number <= kJobs; ++number )
        Attach( queue, number );
    queue.Start();
    const auto awaitEnds = [&]( std::size_t inCount )
    { EXPECT_TRUE( Await( [&] { return itsEnds.size() >= inCount; } ) ); };
    awaitEnds( 20 );
    itsControl.Stop(); // the connections end
    itsControl.Start( itsDeployment.control );
    awaitEnds( 80 );
    itsNodes.erase( itsNodes.begin() ); // returns its jobs
    awaitEnds( 140 );
    XNetJobControl other( MakeTestCipher() ); // knows nothing
    itsControl.Stop();
    other.Start( itsDeployment.control );
    queue.WaitForQueueEmpty( kPatience );
    ExpectEachEndedOnce( kJobs );
    EXPECT_TRUE( Await( [&] { return itsNodes[0]->GetJobCount() == 0; } ) );
    queue.Stop();
    itsNodes.clear();
}

TEST_F( XNetJobQueueTest, ReportsProgressAndPosition )
{
    NumberJob::sBody = []( std::uint32_t )
    {
        XProgress progress( 10 );
        progress.SetMessage( "halfway" );
        for ( ;; XThread::SleepCurrentThread( 50, true ) )
            progress.SetProgress( 5 );
    };
    AddNode( 1 );
    XNetJobQueue queue( itsDeployment );
    std::string text;
    std::uint32_t value = 0;
    std::uint32_t workers = 0;
    const Recorder recorder(
        queue,
        [&]( const XMessage& inMessage )
        {
            using Changed = XThreadProgressStrategy::XProgressChangedMessage;
            if ( const auto* const progress = dynamic_cast<const Changed*>( &inMessage ) )
            {
                if ( progress->GetChangeType() == Changed::kMessageChanged )
                    text = progress->GetText().GetConstCharPtr();
                value = std::max( value, progress->GetValue() );
            }
            if ( const auto* const position =
                     dynamic_cast<const XNetJobQueuePositionChangedMessage*>( &inMessage ) )
                workers = position->GetWorkers();
        } );
    Attach( queue, 1 );
    queue.Start();
    EXPECT_TRUE( Await( [&] { return value == 500 && text == "halfway" && workers == 1; } ) )
        << value << text << workers;
}

TEST_F( XNetJobQueueTest, RefusesAnIncompatibleServiceAndWaitsForAMissingOne )
{
    const XAppVersion own = XAppVersion::GetCurrent();
    XAppVersion::SetCurrent( XAppVersion( "another application", 1, 0, 0 ) );
    XNetJobQueue queue( itsDeployment );
    EXPECT_EQ( ErrorOrZero( [&] { queue.Start(); } ), 3092u );
    XAppVersion::SetCurrent( own );
    EXPECT_CONTAINS( itsControl.GetStatus().failures.at( 0 ).text.GetConstCharPtr(), "another application" );

    itsControl.Stop();
    XNetJobQueue early( itsDeployment );
    Attach( early, 1 );
    early.Start();
    EXPECT_EQ( early.GetConnectionError(), 3106u );
    AddNode( 1 );
    itsControl.Start( itsDeployment.control );
    early.WaitForQueueEmpty( kPatience );
    ExpectEachEndedOnce( 1 );
}

TEST_F( XNetJobQueueTest, StopsAJobThatWasStoppedWhileTheServiceRefusedIt )
{
    Gate hasStarted( 1 );
    std::atomic<bool> wasStopped = false;
    NumberJob::sBody = [&]( std::uint32_t )
    {
        hasStarted.CountDown();
        try
        {
            RunUntilStopped();
        }
        catch ( const XStopThreadException& )
        {
            wasStopped = true;
            throw;
        }
    };
    const XNetJobQueueNode& node = AddNode( 1 );
    XNetJobQueue queue( itsDeployment );
    Attach( queue, 1 );
    Attach( queue, 2 );
    queue.Start();
    hasStarted.Wait();
    EXPECT_TRUE( Await( [&] { return node.GetJobCount() == 2; } ) );
    itsControl.Stop();
    queue.StopTaggedJobs( 1 );
    const XAppVersion own = XAppVersion::GetCurrent();
    XAppVersion::SetCurrent( XAppVersion( "another application", 1, 0, 0 ) );
    {
        XNetJobControl other( MakeTestCipher() );
        XAppVersion::SetCurrent( own );
        other.Start( itsDeployment.control );
        EXPECT_TRUE( Await( [&] { return queue.GetConnectionError() == 3092; } ) );
    }
    queue.StopTaggedJobs( 2 ); // not submitted again, but known to the service
    itsControl.Start( itsDeployment.control );
    EXPECT_TRUE( Await( [&] { return wasStopped && node.GetJobCount() == 0; } ) );
}

TEST_F( XNetJobQueueTest, AppendsResumedJobsAndRunsAJobThatWasSuspendedTooLate )
{
    Gate hasStarted( 1 );
    std::vector<std::uint32_t> started;
    NumberJob::sBody = [&]( std::uint32_t inNumber )
    {
        started.push_back( inNumber );
        if ( started.size() > 1 )
            return;
        hasStarted.CountDown();
        RunUntilStopped();
    };
    XNetJobQueue queue( itsDeployment );
    for ( const std::uint32_t number : { 1u, 2u, 3u } )
        Attach( queue, number );
    queue.AsyncSuspendTaggedJobs( 1 );
    queue.ResumeTaggedJobs( 1 );
    AddNode( 1 );
    queue.Start();
    hasStarted.Wait();
    queue.AsyncSuspendTaggedJobs( 2 ); // runs, which the queue does not know yet
    EXPECT_TRUE( Await( [&] { return queue.GetRunningJobCount() == 1; } ) );
    itsNodes.clear(); // returns the job
    AddNode( 1 );
    queue.WaitForQueueEmpty( kPatience );
    EXPECT_EQ( started, ( std::vector<std::uint32_t>{ 2, 2, 3, 1 } ) );
    ExpectEachEndedOnce( 3 );
}

namespace
{

/// A client that makes each call itself.
class BareClient
{
public:
    explicit BareClient( const XNetJobDeployment& inDeployment )
    {
        for ( XControlBridge* const bridge : { &sender, &receiver, &late } )
            bridge->Connect( inDeployment.control, kPatience );
    }
    void LogOn()
    {
        id = sender.LogOnClient( XAppVersion::XAppAndComputerInfo::GetCurrent(), id ).GetClientID();
    }
    void Submit( std::uint32_t inJob )
    {
        const NumberJob job( inJob );
        sender.Send(
            id, { { XNetJobEvent::kSubmit, id, 1, inJob, job.GetVersion(), XStoreAsBytes( job ) } } );
    }
    /// The result code of the next job that has ended.
    std::uint32_t AwaitResult()
    {
        for ( const XTimer timer( kPatience ); !timer.HasExpired(); )
            for ( const XNetJobEvent& event : receiver.Receive( id, 1000 ) )
                if ( event.kind == XNetJobEvent::kEnded )
                    return XReadFromBytes<XNetJobResult>( event.bytes )->GetResultCode();
        return kErrorTimedOut;
    }

    XControlBridge sender{ XRPCBridge::kClient, MakeTestCipher() };
    XControlBridge receiver{ XRPCBridge::kClient, MakeTestCipher() };
    XControlBridge late{ XRPCBridge::kClient, MakeTestCipher() };
    std::uint32_t id = 0;
};

} // namespace

TEST_F( XNetJobQueueTest, DoesNotTakeTheEndOfAStoppedRunForAResultAndGivesEventsToOneConnection )
{
    Gate hasStarted( 1 );
    std::atomic<bool> runsAtOnce = false;
    NumberJob::sBody = [&]( std::uint32_t )
    {
        if ( runsAtOnce )
            return;
        hasStarted.CountDown();
        RunUntilStopped();
    };
    const XNetJobQueueNode& node = AddNode( 1 );
    BareClient client( itsDeployment );
    client.LogOn();
    client.Submit( 1 );
    hasStarted.Wait();
    runsAtOnce = true;
    client.sender.LogOff( client.id ); // as if lost: its job is dropped
    EXPECT_TRUE( Await( [&] { return node.GetJobCount() == 0; } ) );
    client.LogOn();
    client.Submit( 1 );
    EXPECT_EQ( client.AwaitResult(), 0u );
    EXPECT_ERROR( 3100, client.late.Receive( client.id, 0 ) ); // would lose what it is given
}
