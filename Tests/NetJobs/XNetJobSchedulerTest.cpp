#include "NetJobs/Internal/XNetJobScheduler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

namespace
{

using XAction = XNetJobScheduler::XAction;
using XJobKey = XNetJobScheduler::XJobKey;
using XJobs = XVector<std::uint32_t>;

constexpr XVersion kJobClass( 40000, 0 );
constexpr std::uint32_t kOnlyQueue = 1;

/// A scheduler whose actions are recorded by node. Jobs are named by their IDs alone; their client is the ID / 1000.
class Fleet
{
public:
    static XJobKey MakeKey( std::uint32_t inJob ) { return { inJob / 1000, kOnlyQueue, inJob }; }

    void AddNode(
        std::uint32_t inNode, std::uint32_t inWorkers, const XVector<XVersion>& inClasses = { kJobClass } )
    {
        scheduler.AddNode( inNode, inWorkers, inClasses );
    }
    void AddJobs( const XJobs& inJobs, const XVersion& inClass = kJobClass )
    {
        for ( const std::uint32_t job : inJobs )
            ASSERT_TRUE( scheduler.AddJob( { MakeKey( job ), inClass, {}, false } ) );
    }
    void Start( std::uint32_t inNode, std::uint32_t inJob )
    {
        scheduler.JobHasStarted( now, inNode, MakeKey( inJob ) );
    }
    bool End( std::uint32_t inNode, std::uint32_t inJob, std::uint64_t inMilliseconds = 1000 )
    {
        return scheduler.JobHasEnded( inNode, MakeKey( inJob ), inMilliseconds * 1000 );
    }
    /// The jobs of the next actions of a kind for a node; other actions are kept for later calls.
    XJobs Take( XNetJobScheduler::XActionKind inKind, std::uint32_t inNode = 0 )
    {
        for ( const XAction& action : scheduler.TakeActions( now ) )
            actions.push_back( action );
        XJobs jobs;
        std::erase_if(
            actions,
            [&]( const XAction& inAction )
            {
                if ( inAction.kind != inKind || inAction.nodeID != inNode )
                    return false;
                jobs.push_back( inAction.key.jobID );
                return true;
            } );
        return jobs;
    }
    XJobs TakeAssigned( std::uint32_t inNode ) { return Take( XNetJobScheduler::kAssign, inNode ); }

    XNetJobScheduler scheduler;
    XVector<XAction> actions;
    XNetJobScheduler::XTimeMS now = 0;
};

} // namespace

TEST( XNetJobSchedulerTest, ServesTheLeastLoadedNodeAndPrefetchesByTheDurationOfJobs )
{
    Fleet fleet;
    fleet.AddNode( 1, 1 );
    fleet.AddNode( 2, 2 );
    fleet.AddJobs( { 1000, 1001, 1002, 1003, 1004, 1005, 1006, 1007 } );
    EXPECT_EQ( fleet.TakeAssigned( 1 ), ( XJobs{ 1000, 1003 } ) );
    EXPECT_EQ( fleet.TakeAssigned( 2 ), ( XJobs{ 1001, 1002, 1004, 1005 } ) );
    EXPECT_TRUE( fleet.End( 1, 1000, 50 ) ); // two jobs of this duration are prefetched
    EXPECT_EQ( fleet.TakeAssigned( 1 ), ( XJobs{ 1006, 1007 } ) );
}

TEST( XNetJobSchedulerTest, ClientsTakeTurns )
{
    Fleet fleet;
    fleet.AddJobs( { 1000, 1001, 1002, 1003, 2000, 2001, 3000 } );
    fleet.AddNode( 1, 3 );
    EXPECT_EQ( fleet.TakeAssigned( 1 ), ( XJobs{ 1000, 2000, 3000, 1001, 2001, 1002 } ) );
}

TEST( XNetJobSchedulerTest, AssignsOnlyClassesAndRevisionsThatTheNodeSupports )
{
    Fleet fleet;
    fleet.AddJobs( { 1000 }, XVersion( 40001, 0 ) );
    fleet.AddJobs( { 1001 }, XVersion( 40000, 2 ) );
    fleet.AddJobs( { 1002 }, XVersion( 40000, 1 ) );
    fleet.AddNode( 1, 4, { XVersion( 40000, 0 ), XVersion( 40000, 1 ), XVersion( 39999, 7 ) } );
    EXPECT_EQ( fleet.TakeAssigned( 1 ), XJobs{ 1002 } );
    fleet.AddNode( 2, 4, { XVersion( 40001, 0 ) } );
    EXPECT_EQ( fleet.TakeAssigned( 2 ), XJobs{ 1000 } );
}

TEST( XNetJobSchedulerTest, PrefersJobsWhoseSharedDataTheNodeHolds )
{
    Fleet fleet;
    fleet.scheduler.AddJob( { Fleet::MakeKey( 1000 ), kJobClass, { 7 }, false } );
    fleet.scheduler.AddJob( { Fleet::MakeKey( 1001 ), kJobClass, { 8 }, false } );
    fleet.AddNode( 1, 1 );
    fleet.scheduler.SetHoldsData( 1, 1, 8, true );
    fleet.scheduler.SetHoldsData( 1, 2, 7, true ); // of another client
    EXPECT_EQ( fleet.TakeAssigned( 1 ), ( XJobs{ 1001, 1000 } ) );
}

TEST( XNetJobSchedulerTest, JobsOfALostNodeComeFirstAndOneAtATime )
{
    Fleet fleet;
    fleet.AddNode( 1, 2 );
    fleet.AddJobs( { 1000, 1001, 1002, 1003, 1004, 1005 } );
    EXPECT_EQ( fleet.TakeAssigned( 1 ).size(), 4u );
    fleet.scheduler.RemoveNode( 1, true );
    fleet.AddNode( 2, 2 );
    EXPECT_EQ( fleet.TakeAssigned( 2 ), ( XJobs{ 1000, 1004, 1005 } ) );
    EXPECT_TRUE( fleet.End( 2, 1000 ) );
    EXPECT_EQ( fleet.TakeAssigned( 2 ), XJobs{ 1001 } );
    fleet.scheduler.JobWasReturned( 2, Fleet::MakeKey( 1001 ) );
    EXPECT_EQ( fleet.TakeAssigned( 2 ), XJobs{ 1001 } );
}

TEST( XNetJobSchedulerTest, ANodeThatReturnsAStartedJobClearsItOfSuspicion )
{
    Fleet fleet;
    fleet.AddJobs( { 1000 } );
    for ( std::uint32_t node = 1; node <= 5; ++node )
    {
        fleet.AddNode( node, 1 );
        EXPECT_EQ( fleet.TakeAssigned( node ), XJobs{ 1000 } );
        fleet.Start( node, 1000 );
        const bool isLost = node != 3;
        if ( !isLost )
            fleet.scheduler.JobWasReturned( node, Fleet::MakeKey( 1000 ) );
        fleet.scheduler.RemoveNode( node, isLost );
    }
    EXPECT_EQ( fleet.Take( XNetJobScheduler::kFailed ), XJobs() );
}

TEST( XNetJobSchedulerTest, OnlyTheJobThatEndsItsNodesFails )
{
    constexpr std::uint32_t kPoison = 1003;
    Fleet fleet;
    fleet.AddJobs( { 1000, 1001, 1002, kPoison, 1004, 1005, 1006, 1007, 1008, 1009 } );
    std::set<std::uint32_t> ended;
    std::uint32_t lostNodes = 0;
    XJobs failed;
    for ( std::uint32_t node = 1; ended.size() < 9; ++node )
    {
        ASSERT_LT( node, 20u );
        fleet.AddNode( node, 4 );
        bool isLost = false;
        for ( XJobs jobs = fleet.TakeAssigned( node ); !jobs.empty() && !isLost;
              jobs = fleet.TakeAssigned( node ) )
        {
            isLost = std::ranges::find( jobs, kPoison ) != jobs.end();
            for ( const std::uint32_t job : jobs )
                if ( !isLost && fleet.End( node, job ) )
                    ended.insert( job );
        }
        lostNodes += isLost;
        fleet.scheduler.RemoveNode( node, isLost );
        for ( const std::uint32_t job : fleet.Take( XNetJobScheduler::kFailed ) )
            failed.push_back( job );
    }
    EXPECT_EQ( failed, XJobs{ kPoison } );
    EXPECT_EQ( lostNodes, XNetJobScheduler::kMostLosses );
}

TEST( XNetJobSchedulerTest, AnIdleNodeTakesOverABacklogThenALongRun )
{
    Fleet fleet;
    fleet.AddNode( 1, 1 );
    fleet.AddJobs( { 1000, 1001 } );
    EXPECT_EQ( fleet.TakeAssigned( 1 ), ( XJobs{ 1000, 1001 } ) );
    fleet.Start( 1, 1000 );
    fleet.AddNode( 2, 1 );
    EXPECT_EQ( fleet.TakeAssigned( 2 ), XJobs{ 1001 } );
    EXPECT_EQ( fleet.Take( XNetJobScheduler::kRecall, 1 ), XJobs{ 1001 } );
    fleet.scheduler.JobWasReturned( 1, Fleet::MakeKey( 1001 ) );
    EXPECT_TRUE( fleet.End( 2, 1001, 2000 ) );

    fleet.now = 3999; // less than twice the mean duration
    EXPECT_EQ( fleet.TakeAssigned( 2 ), XJobs() );
    fleet.now = 4000;
    EXPECT_EQ( fleet.TakeAssigned( 2 ), XJobs{ 1000 } );
    EXPECT_TRUE( fleet.End( 2, 1000 ) );
    EXPECT_EQ( fleet.Take( XNetJobScheduler::kStop, 1 ), XJobs{ 1000 } );
    EXPECT_FALSE( fleet.End( 1, 1000 ) );
}

TEST( XNetJobSchedulerTest, StopsSuspendsAndResumes )
{
    Fleet fleet;
    fleet.AddNode( 1, 1 );
    fleet.AddJobs( { 1000, 1001, 1002, 1003 } );
    EXPECT_EQ( fleet.TakeAssigned( 1 ), ( XJobs{ 1000, 1001 } ) );
    fleet.Start( 1, 1000 );
    for ( const std::uint32_t job : { 1000u, 1001u, 1002u } )
        fleet.scheduler.SuspendJob( Fleet::MakeKey( job ) );
    EXPECT_EQ( fleet.Take( XNetJobScheduler::kRecall, 1 ), XJobs{ 1001 } );
    fleet.scheduler.JobWasReturned( 1, Fleet::MakeKey( 1001 ) );
    EXPECT_EQ( fleet.TakeAssigned( 1 ), XJobs{ 1003 } );
    const XNetJobScheduler::XCounts counts = fleet.scheduler.CountJobs( 1 );
    EXPECT_EQ( counts.suspended, 2u );
    EXPECT_EQ( counts.assigned, 2u );

    for ( const std::uint32_t job : { 1000u, 1002u } )
        fleet.scheduler.StopJob( Fleet::MakeKey( job ) );
    EXPECT_EQ( fleet.Take( XNetJobScheduler::kStop, 1 ), XJobs{ 1000 } );
    EXPECT_EQ( fleet.Take( XNetJobScheduler::kStopped ), XJobs{ 1002 } );
    fleet.scheduler.RemoveNode( 1, true ); // with 1000, which is not run again
    EXPECT_EQ( fleet.Take( XNetJobScheduler::kStopped ), XJobs{ 1000 } );
    fleet.AddNode( 2, 1 );
    fleet.scheduler.ResumeJob( Fleet::MakeKey( 1001 ) );
    EXPECT_EQ( fleet.TakeAssigned( 2 ), ( XJobs{ 1003, 1001 } ) );
    fleet.scheduler.RemoveClient( 1 );
    EXPECT_EQ( fleet.Take( XNetJobScheduler::kStop, 2 ).size(), 2u );
    EXPECT_FALSE( fleet.End( 2, 1003 ) );

    fleet.AddJobs( { 2000 } );
    EXPECT_EQ( fleet.TakeAssigned( 2 ), XJobs{ 2000 } );
    fleet.scheduler.SuspendJob( Fleet::MakeKey( 2000 ) );
    fleet.Start( 2, 2000 ); // before the recall arrives
    fleet.scheduler.RemoveNode( 2, true );
    EXPECT_EQ( fleet.scheduler.CountJobs( 2 ).waiting, 1u );
}

TEST( XNetJobSchedulerTest, ANodeThatComesBackKeepsItsJobs )
{
    Fleet fleet;
    fleet.AddJobs( { 1000, 1001 } );
    fleet.AddNode( 7, 1 );
    EXPECT_TRUE( fleet.scheduler.NodeHoldsJob( 7, Fleet::MakeKey( 1001 ) ) );
    EXPECT_FALSE( fleet.scheduler.NodeHoldsJob( 7, Fleet::MakeKey( 1002 ) ) );
    EXPECT_EQ( fleet.TakeAssigned( 7 ), XJobs{ 1000 } );
    EXPECT_TRUE( fleet.End( 7, 1001 ) );
    fleet.scheduler.RemoveNode( 7, true );
    EXPECT_TRUE( fleet.End( 7, 1000 ) ); // the first result, from a node that counts as lost
    EXPECT_EQ( fleet.scheduler.CountJobs( 1 ).waiting, 0u );
    fleet.AddJobs( { 1003, 1004 } );
    for ( int i = 0; i < 5; ++i ) // only the connection is lost
    {
        fleet.AddNode( 8, 1 );
        EXPECT_TRUE( fleet.scheduler.NodeHoldsJob( 8, Fleet::MakeKey( 1003 ) ) );
        EXPECT_TRUE( fleet.scheduler.NodeHoldsJob( 8, Fleet::MakeKey( 1004 ) ) );
        fleet.scheduler.RemoveNode( 8, true );
    }
    EXPECT_EQ( fleet.Take( XNetJobScheduler::kFailed ), XJobs() );
    EXPECT_EQ( fleet.scheduler.CountJobs( 1 ).waiting, 2u );
}

/// Random events from seeded generators: each job ends exactly once, and no rule is broken meanwhile.
TEST( XNetJobSchedulerTest, EveryJobEndsOnceWhateverHappens )
{
    for ( unsigned seed = 1; seed <= 50; ++seed )
    {
        std::mt19937 random( seed );
        const auto draw = [&]( std::size_t inCount )
        { return static_cast<std::uint32_t>( random() % inCount ); };
        Fleet fleet;
        std::map<std::uint32_t, XJobs> nodes; // with what they have
        std::map<std::uint32_t, int> ends;
        std::uint32_t nextNode = 1;
        std::uint32_t nextJob = 0;
        const auto step = [&]( bool inIsCalm )
        {
            const std::uint32_t event = inIsCalm ? 3 : draw( 12 );
            if ( nodes.empty() || ( event == 0 && nodes.size() < 6 ) )
            {
                fleet.AddNode( nextNode, 1 + draw( 4 ) );
                nodes[nextNode++];
            }
            const auto node = std::next( nodes.begin(), draw( nodes.size() ) );
            XJobs& jobs = node->second;
            const std::uint32_t job = 1000 * ( 1 + nextJob % 3 ) + nextJob / 3;
            const XJobKey some = Fleet::MakeKey( 1000 * ( 1 + draw( 3 ) ) + draw( nextJob / 3 + 1 ) );
            if ( event == 1 && draw( 3 ) == 0 )
            {
                fleet.scheduler.RemoveNode( node->first, draw( 2 ) == 0 );
                nodes.erase( node );
            }
            else if ( event == 2 && nextJob < 900 )
            {
                fleet.AddJobs( { job } );
                ends[job] = 0;
                ++nextJob;
            }
            else if ( event < 6 && !jobs.empty() )
            {
                const std::uint32_t ended = jobs[draw( jobs.size() )];
                std::erase( jobs, ended );
                ends[ended] += fleet.End( node->first, ended, draw( 200 ) );
            }
            else if ( event == 6 && !jobs.empty() )
                fleet.Start( node->first, jobs[draw( jobs.size() )] );
            else if ( event == 7 && !jobs.empty() )
            {
                fleet.scheduler.JobWasReturned( node->first, Fleet::MakeKey( jobs.back() ) );
                jobs.pop_back();
            }
            else if ( event == 8 )
                fleet.scheduler.SuspendJob( some );
            else if ( event == 9 || inIsCalm )
                fleet.scheduler.ResumeJob( some );
            else if ( event == 10 && draw( 10 ) == 0 )
                fleet.scheduler.StopJob( some );
            fleet.now += draw( 500 );
            for ( const XAction& action : fleet.scheduler.TakeActions( fleet.now ) )
            {
                const std::uint32_t id = action.key.jobID;
                if ( action.kind == XNetJobScheduler::kStopped || action.kind == XNetJobScheduler::kFailed )
                    ++ends[id];
                else if ( const auto target = nodes.find( action.nodeID ); target == nodes.end() )
                    EXPECT_NE( action.kind, XNetJobScheduler::kAssign );
                else if ( action.kind == XNetJobScheduler::kAssign )
                {
                    EXPECT_EQ( std::ranges::count( target->second, id ), 0 );
                    target->second.push_back( id );
                }
                else if ( std::erase( target->second, id ) == 0 )
                    continue;
                else if ( action.kind == XNetJobScheduler::kRecall )
                    fleet.scheduler.JobWasReturned( target->first, action.key );
                else
                    ends[id] += fleet.End( target->first, id, 0 );
            }
        };
        for ( int i = 0; i < 3000; ++i )
            step( false );
        for ( std::uint32_t id = 0; id < nextJob; ++id )
            fleet.scheduler.ResumeJob( Fleet::MakeKey( 1000 * ( 1 + id % 3 ) + id / 3 ) );
        const auto isOpen = []( const auto& inEnd ) { return inEnd.second == 0; };
        for ( int i = 0; i < 20000 && std::ranges::any_of( ends, isOpen ); ++i )
            step( true );
        for ( const auto& [id, count] : ends )
            ASSERT_EQ( count, 1 ) << "job " << id << ", seed " << seed;
    }
}
