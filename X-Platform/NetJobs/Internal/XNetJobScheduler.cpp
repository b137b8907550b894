// How the tables (XNetJobTables.h) change with events, and which job goes to which node.

#include "NetJobs/Internal/XNetJobScheduler.h"

#include "Ground/XFail.h"
#include "NetJobs/Internal/XNetJobTables.h"

// A Windows DLL exports only those constants of a class that have a definition in it.
constexpr std::uint32_t XNetJobScheduler::kMostLosses;

namespace
{

using namespace XNetJobTables;

constexpr int kMostVictims = 8; // nodes examined for a job to recall

} // namespace

class XNetJobScheduler::XImp
{
public:
    Node* FindNode( std::uint32_t inNodeID );
    Job* FindJob( const XJobKey& inKey );

    void AddNode( std::uint32_t inNodeID, std::uint32_t inWorkers, std::span<const XVersion> inClasses );
    void RemoveNode( Node& ioNode, bool inIsLost );
    void UpdatePlace( Node& ioNode );

    bool AddJob( const XNewJob& inJob );
    void Assign( Job& ioJob, Node& ioNode );
    void ClearOfSuspicion( Job& ioJob );
    void Start( Job& ioJob, Run& ioRun, XTimeMS inNow );
    void NoteDuration( Job& ioJob, Run& ioRun, std::uint64_t inRunMicroseconds );
    void StopRuns( Job& ioJob );
    void RemoveRun( Job& ioJob, Run& ioRun );
    void RunHasGone( Job& ioJob, Run& ioRun );
    void Requeue( Job& ioJob );
    void SetSuspended( Job& ioJob, bool inIsSuspended );
    void Forget( Job& ioJob );
    void ForgetAsStopped( Job& ioJob );
    void RemoveClient( std::uint32_t inClientID );

    void AssignAll( XTimeMS inNow );
    XVector<XAction> TakeActions() { return std::exchange( itsActions, {} ); }
    XCounts CountJobs( std::uint32_t inClientID );
    XOutlook GetOutlook( std::uint32_t inClientID );
    XNodeCounts CountRuns( std::uint32_t inNodeID );

private:
    struct Choice
    {
        Job* job = nullptr;
        Node* node = nullptr;
    };

    void Act( XActionKind inKind, const Node* inNode, const Job& inJob );
    void StartWaiting( Job& ioJob );
    void StopWaiting( Job& ioJob );
    void MayRunAgain( Job& ioJob );
    void MustNotRunAgain( Job& ioJob );

    void AssignGroup( NodeGroup& ioGroup, XTimeMS inNow );
    Choice Choose( NodeGroup& inGroup );
    Choice ChooseOfClient( NodeGroup& inGroup, Client& inClient );
    static Job* ChooseForNode( const JobOrder& inOrder, const Node& inNode );
    bool UseIdleWorker( Node& ioNode, XTimeMS inNow );
    Job* FindBacklogFor( const Node& inNode );
    Job* FindLongRunningFor( const Node& inNode, XTimeMS inNow );

    std::map<XVector<XVersion>, NodeGroup> itsGroups;
    std::unordered_map<std::uint32_t, Node> itsNodes;
    std::map<std::uint32_t, Client> itsClients;
    std::set<std::uint32_t> itsWaitingClients; // that have waiting jobs
    std::uint32_t itsLastClientID = 0;         // whose turn was the last
    std::set<std::uint32_t> itsBackloggedNodes;
    std::uint32_t itsLastVictimID = 0;
    std::list<Job*> itsStartedJobs; // with one run and not suspected, the oldest first
    std::uint64_t itsLastSerial = 0;
    XVector<XAction> itsActions;
};

// ---- Nodes

Node* XNetJobScheduler::XImp::FindNode( std::uint32_t inNodeID )
{
    const auto found = itsNodes.find( inNodeID );
    return found == itsNodes.end() ? nullptr : &found->second;
}

void XNetJobScheduler::XImp::AddNode(
    std::uint32_t inNodeID, std::uint32_t inWorkers, std::span<const XVersion> inClasses )
{
    const auto [found, isNew] = itsNodes.try_emplace( inNodeID );
    XAssert( isNew );
    const XVector<XVersion> classes = NormaliseClasses( inClasses );
    Node& node = found->second;
    node.id = inNodeID;
    node.workers = std::max( inWorkers, 1u );
    node.group = &itsGroups.try_emplace( classes ).first->second;
    node.group->classes = classes;
    UpdatePlace( node );
}

void XNetJobScheduler::XImp::RemoveNode( Node& ioNode, bool inIsLost )
{
    ioNode.acceptsJobs = false;
    while ( !ioNode.runs.empty() )
    {
        Job& job = *ioNode.runs.front();
        RemoveRun( job, *job.FindRun( ioNode ) );
        job.losses += inIsLost;
        if ( job.runCount > 0 )
            MayRunAgain( job );
        else if ( inIsLost && job.losses >= kMostLosses && !job.isStopping )
        {
            Act( kFailed, nullptr, job );
            Forget( job );
        }
        else
            Requeue( job );
    }
    UpdatePlace( ioNode );
    itsNodes.erase( ioNode.id );
}

/// Brings the node to its places in the orders of its group and among the nodes with a backlog.
void XNetJobScheduler::XImp::UpdatePlace( Node& ioNode )
{
    NodeGroup& group = *ioNode.group;
    group.withRoom.erase( { ioNode.load, ioNode.id } );
    group.withoutSuspect.erase( { ioNode.load, ioNode.id } );
    ioNode.load = ( std::uint64_t{ ioNode.runs.size() } << 32 ) / ioNode.workers;
    if ( ioNode.acceptsJobs && ioNode.runs.size() < ioNode.GetCapacity() )
    {
        group.withRoom.insert( { ioNode.load, ioNode.id } );
        if ( ioNode.suspectCount == 0 )
            group.withoutSuspect.insert( { ioNode.load, ioNode.id } );
    }
    if ( ioNode.HasBacklog() )
        itsBackloggedNodes.insert( ioNode.id );
    else
        itsBackloggedNodes.erase( ioNode.id );
}

// ---- Jobs

Job* XNetJobScheduler::XImp::FindJob( const XJobKey& inKey )
{
    const auto client = itsClients.find( inKey.clientID );
    if ( client == itsClients.end() )
        return nullptr;
    const auto job = client->second.jobs.find( Combine( inKey.jobQueueID, inKey.jobID ) );
    return job == client->second.jobs.end() ? nullptr : &job->second;
}

bool XNetJobScheduler::XImp::AddJob( const XNewJob& inJob )
{
    Client& client = itsClients[inJob.key.clientID];
    const auto [found, isNew] = client.jobs.try_emplace( Combine( inJob.key.jobQueueID, inJob.key.jobID ) );
    if ( !isNew )
        return false;
    Job& job = found->second;
    job.key = inJob.key;
    job.client = &client;
    job.jobClass = &client.classes[inJob.jobClass];
    job.version = inJob.jobClass;
    job.sharedDataIDs = inJob.sharedDataIDs;
    job.isSuspended = inJob.isSuspended;
    job.serial = ++itsLastSerial;
    if ( !job.isSuspended )
        StartWaiting( job );
    return true;
}

void XNetJobScheduler::XImp::Act( XActionKind inKind, const Node* inNode, const Job& inJob )
{
    itsActions.push_back( { inKind, inNode ? inNode->id : 0, inJob.key } );
}

void XNetJobScheduler::XImp::StartWaiting( Job& ioJob )
{
    ioJob.jobClass->GetOrder( ioJob ).emplace( ioJob.serial, &ioJob );
    if ( ioJob.client->waitingCount++ == 0 )
        itsWaitingClients.insert( ioJob.key.clientID );
}

void XNetJobScheduler::XImp::StopWaiting( Job& ioJob )
{
    ioJob.jobClass->GetOrder( ioJob ).erase( ioJob.serial );
    if ( --ioJob.client->waitingCount == 0 )
        itsWaitingClients.erase( ioJob.key.clientID );
}

void XNetJobScheduler::XImp::Assign( Job& ioJob, Node& ioNode )
{
    if ( ioJob.IsWaiting() )
        StopWaiting( ioJob );
    ioJob.isSuspended = false;
    MustNotRunAgain( ioJob );
    ioJob.client->assignedCount += ioJob.runCount == 0;
    Run& run = ioJob.runs[ioJob.runCount++];
    run = { &ioNode, ioNode.runs.insert( ioNode.runs.end(), &ioJob ), 0, false, ioJob.losses > 0 };
    ioNode.suspectCount += run.isSuspected;
    if ( ioJob.isStopping )
        Act( kStop, &ioNode, ioJob );
    UpdatePlace( ioNode );
}

void XNetJobScheduler::XImp::ClearOfSuspicion( Job& ioJob )
{
    const bool isWaiting = ioJob.IsWaiting();
    if ( isWaiting )
        StopWaiting( ioJob ); // among the suspected ones
    ioJob.losses = 0;
    if ( isWaiting )
        StartWaiting( ioJob );
}

void XNetJobScheduler::XImp::Start( Job& ioJob, Run& ioRun, XTimeMS inNow )
{
    ioJob.isSuspended = false; // too late
    ioRun.hasStarted = true;
    ioRun.startTime = inNow;
    if ( ioJob.runCount == 1 && !ioRun.isSuspected && !ioJob.startPlace )
        ioJob.startPlace = itsStartedJobs.insert( itsStartedJobs.end(), &ioJob );
}

/// A started job has one run again.
void XNetJobScheduler::XImp::MayRunAgain( Job& ioJob )
{
    const Run& run = ioJob.runs.front();
    if ( run.hasStarted && !run.isSuspected && !ioJob.startPlace )
        ioJob.startPlace = itsStartedJobs.insert( itsStartedJobs.begin(), &ioJob );
}

void XNetJobScheduler::XImp::MustNotRunAgain( Job& ioJob )
{
    if ( ioJob.startPlace )
        itsStartedJobs.erase( *ioJob.startPlace );
    ioJob.startPlace.reset();
}

void XNetJobScheduler::XImp::RemoveRun( Job& ioJob, Run& ioRun )
{
    MustNotRunAgain( ioJob );
    Node& node = *ioRun.node;
    node.runs.erase( ioRun.place );
    node.suspectCount -= ioRun.isSuspected;
    if ( &ioRun != &ioJob.runs[ioJob.runCount - 1] )
        ioRun = ioJob.runs[ioJob.runCount - 1];
    --ioJob.runCount;
    ioJob.client->assignedCount -= ioJob.runCount == 0;
    UpdatePlace( node );
}

void XNetJobScheduler::XImp::NoteDuration( Job& ioJob, Run& ioRun, std::uint64_t inRunMicroseconds )
{
    ioRun.node->duration.Add( inRunMicroseconds );
    ioJob.jobClass->duration.Add( inRunMicroseconds );
}

void XNetJobScheduler::XImp::StopRuns( Job& ioJob )
{
    for ( const Run& run : ioJob.GetRuns() )
        Act( kStop, run.node, ioJob );
}

/// The node has the job no more, and has given no result.
void XNetJobScheduler::XImp::RunHasGone( Job& ioJob, Run& ioRun )
{
    if ( ioRun.hasStarted )
        ioJob.losses = 0; // the node outlived it
    RemoveRun( ioJob, ioRun );
    if ( ioJob.runCount > 0 )
        MayRunAgain( ioJob );
    else
        Requeue( ioJob );
}

/// For a job without runs.
void XNetJobScheduler::XImp::Requeue( Job& ioJob )
{
    if ( ioJob.isStopping )
        ForgetAsStopped( ioJob );
    else if ( !ioJob.isSuspended )
        StartWaiting( ioJob );
}

void XNetJobScheduler::XImp::SetSuspended( Job& ioJob, bool inIsSuspended )
{
    if ( ioJob.isSuspended == inIsSuspended || ioJob.isStopping || ioJob.HasStarted() )
        return;
    if ( ioJob.IsWaiting() )
        StopWaiting( ioJob );
    ioJob.isSuspended = inIsSuspended;
    if ( inIsSuspended )
    {
        for ( const Run& run : ioJob.GetRuns() )
            Act( kRecall, run.node, ioJob );
        return;
    }
    ioJob.serial = ++itsLastSerial;
    if ( ioJob.IsWaiting() )
        StartWaiting( ioJob );
}

void XNetJobScheduler::XImp::Forget( Job& ioJob )
{
    if ( ioJob.IsWaiting() && ioJob.jobClass->GetOrder( ioJob ).contains( ioJob.serial ) )
        StopWaiting( ioJob );
    while ( ioJob.runCount > 0 )
        RemoveRun( ioJob, ioJob.runs[ioJob.runCount - 1] );
    ioJob.client->jobs.erase( Combine( ioJob.key.jobQueueID, ioJob.key.jobID ) );
}

void XNetJobScheduler::XImp::ForgetAsStopped( Job& ioJob )
{
    Act( kStopped, nullptr, ioJob );
    Forget( ioJob );
}

void XNetJobScheduler::XImp::RemoveClient( std::uint32_t inClientID )
{
    const auto client = itsClients.find( inClientID );
    if ( client == itsClients.end() )
        return;
    for ( auto& [key, job] : client->second.jobs )
    {
        StopRuns( job );
        while ( job.runCount > 0 )
            RemoveRun( job, job.runs[job.runCount - 1] );
    }
    itsWaitingClients.erase( inClientID );
    itsClients.erase( client );
}

// ---- Decisions

void XNetJobScheduler::XImp::AssignAll( XTimeMS inNow )
{
    for ( auto& [classes, group] : itsGroups )
        AssignGroup( group, inNow );
}

void XNetJobScheduler::XImp::AssignGroup( NodeGroup& ioGroup, XTimeMS inNow )
{
    while ( !ioGroup.withRoom.empty() )
    {
        if ( const Choice choice = Choose( ioGroup ); choice.job )
        {
            itsLastClientID = choice.job->key.clientID;
            Act( kAssign, choice.node, *choice.job );
            Assign( *choice.job, *choice.node );
        }
        else if ( !UseIdleWorker( itsNodes.at( ioGroup.withRoom.begin()->second ), inNow ) )
            return;
    }
}

/// The next job of the client whose turn it is, or of the first one after it that has a suitable job.
XNetJobScheduler::XImp::Choice XNetJobScheduler::XImp::Choose( NodeGroup& inGroup )
{
    const auto next = itsWaitingClients.upper_bound( itsLastClientID );
    for ( auto id = next; id != itsWaitingClients.end(); ++id )
        if ( const Choice choice = ChooseOfClient( inGroup, itsClients.at( *id ) ); choice.job )
            return choice;
    for ( auto id = itsWaitingClients.begin(); id != next; ++id )
        if ( const Choice choice = ChooseOfClient( inGroup, itsClients.at( *id ) ); choice.job )
            return choice;
    return {};
}

/// Suspected jobs go first, since they were added before what waits.
XNetJobScheduler::XImp::Choice XNetJobScheduler::XImp::ChooseOfClient( NodeGroup& inGroup, Client& inClient )
{
    const JobOrder* first = nullptr;
    const NodeOrder* nodes = nullptr;
    const auto offer = [&]( const JobOrder& inOrder, const NodeOrder& inNodes )
    {
        if ( inOrder.empty() || inNodes.empty() )
            return;
        if ( first && first->begin()->first < inOrder.begin()->first )
            return;
        first = &inOrder;
        nodes = &inNodes;
    };
    for ( auto& [version, jobClass] : inClient.classes )
        if ( inGroup.Supports( version ) )
        {
            offer( jobClass.suspected, inGroup.withoutSuspect );
            offer( jobClass.plain, inGroup.withRoom );
        }
    if ( !first )
        return {};
    Node& node = itsNodes.at( nodes->begin()->second );
    return { ChooseForNode( *first, node ), &node };
}

Job* XNetJobScheduler::XImp::ChooseForNode( const JobOrder& inOrder, const Node& inNode )
{
    int examined = 0;
    for ( auto job = inOrder.begin(); job != inOrder.end() && examined < kLookahead; ++job, ++examined )
        if ( inNode.HoldsDataOf( *job->second ) )
            return job->second;
    return inOrder.begin()->second;
}

/// Assigns a job of another node to a node that would be idle otherwise. Returns whether there was one.
bool XNetJobScheduler::XImp::UseIdleWorker( Node& ioNode, XTimeMS inNow )
{
    if ( !ioNode.IsIdle() )
        return false;
    Job* job = FindBacklogFor( ioNode );
    if ( job )
        Act( kRecall, job->runs.front().node, *job );
    else
        job = FindLongRunningFor( ioNode, inNow );
    if ( !job )
        return false;
    Act( kAssign, &ioNode, *job );
    Assign( *job, ioNode );
    return true;
}

/// The job that a node with a backlog would start last.
Job* XNetJobScheduler::XImp::FindBacklogFor( const Node& inNode )
{
    auto id = itsBackloggedNodes.upper_bound( itsLastVictimID );
    const int victims = static_cast<int>( std::min<USize>( itsBackloggedNodes.size(), kMostVictims ) );
    for ( int i = 0; i < victims; ++i, ++id )
    {
        if ( id == itsBackloggedNodes.end() )
            id = itsBackloggedNodes.begin();
        const Node& victim = itsNodes.at( *id );
        int examined = 0;
        for ( auto job = victim.runs.rbegin(); job != victim.runs.rend() && examined < kLookahead;
              ++job, ++examined )
        {
            Job& candidate = **job;
            const Run& run = candidate.runs.front();
            if ( candidate.runCount > 1 || run.hasStarted || run.isSuspected || candidate.isStopping ||
                 candidate.isSuspended || !inNode.group->Supports( candidate.version ) )
                continue;
            itsLastVictimID = *id;
            return &candidate;
        }
    }
    return nullptr;
}

Job* XNetJobScheduler::XImp::FindLongRunningFor( const Node& inNode, XTimeMS inNow )
{
    int examined = 0;
    for ( Job* const job : itsStartedJobs )
    {
        if ( ++examined > kLookahead )
            return nullptr;
        const Run& run = job->runs.front();
        const double mean = job->jobClass->duration.Get() / 1000;
        const XTimeMS least = std::max( kMinimumRunMS, static_cast<XTimeMS>( 2 * mean ) );
        if ( inNow >= run.startTime + least && run.node != &inNode && !job->isStopping &&
             inNode.group->Supports( job->version ) )
            return job;
    }
    return nullptr;
}

XNetJobScheduler::XCounts XNetJobScheduler::XImp::CountJobs( std::uint32_t inClientID )
{
    XCounts counts;
    const auto client = itsClients.find( inClientID );
    if ( client == itsClients.end() )
        return counts;
    counts.waiting = client->second.waitingCount;
    counts.assigned = client->second.assignedCount;
    counts.suspended = client->second.jobs.size() - counts.waiting - counts.assigned;
    return counts;
}

XNetJobScheduler::XOutlook XNetJobScheduler::XImp::GetOutlook( std::uint32_t inClientID )
{
    XOutlook outlook;
    const auto client = itsClients.find( inClientID );
    if ( client == itsClients.end() )
        return outlook;
    outlook.otherWaitingClients = itsWaitingClients.size() - itsWaitingClients.count( inClientID );
    std::uint64_t serial = 0;
    for ( const auto& [version, jobClass] : client->second.classes )
        for ( const JobOrder* const order : { &jobClass.suspected, &jobClass.plain } )
            if ( !order->empty() && ( !outlook.nextJob || order->begin()->first < serial ) )
            {
                serial = order->begin()->first;
                outlook.nextJob = order->begin()->second->key;
            }
    for ( const auto& [id, node] : itsNodes )
        if ( node.acceptsJobs && node.group->SupportsAnyOf( client->second ) )
            outlook.workers += node.workers;
    return outlook;
}

XNetJobScheduler::XNodeCounts XNetJobScheduler::XImp::CountRuns( std::uint32_t inNodeID )
{
    XNodeCounts counts;
    Node* const node = FindNode( inNodeID );
    if ( !node )
        return counts;
    counts.assigned = node->runs.size();
    for ( Job* const job : node->runs )
    {
        const Run& run = *job->FindRun( *node );
        if ( !run.hasStarted )
            continue;
        ++counts.started;
        if ( counts.longestJob && counts.longestStart <= run.startTime )
            continue;
        counts.longestJob = job->key;
        counts.longestStart = run.startTime;
    }
    return counts;
}

// ---- The interface

XNetJobScheduler::XNetJobScheduler() : itsImp( std::make_unique<XImp>() ) {}

XNetJobScheduler::~XNetJobScheduler() = default;

void XNetJobScheduler::AddNode(
    std::uint32_t inNodeID, std::uint32_t inWorkers, std::span<const XVersion> inJobClasses )
{
    itsImp->AddNode( inNodeID, inWorkers, inJobClasses );
}

void XNetJobScheduler::SetAcceptsJobs( std::uint32_t inNodeID, bool inAcceptsJobs )
{
    if ( Node* const node = itsImp->FindNode( inNodeID ) )
    {
        node->acceptsJobs = inAcceptsJobs;
        itsImp->UpdatePlace( *node );
    }
}

void XNetJobScheduler::RemoveNode( std::uint32_t inNodeID, bool inIsLost )
{
    if ( Node* const node = itsImp->FindNode( inNodeID ) )
        itsImp->RemoveNode( *node, inIsLost );
}

void XNetJobScheduler::SetHoldsData(
    std::uint32_t inNodeID, std::uint32_t inClientID, std::uint32_t inDataID, bool inHoldsData )
{
    Node* const node = itsImp->FindNode( inNodeID );
    if ( !node )
        return;
    if ( inHoldsData )
        node->data.insert( Combine( inClientID, inDataID ) );
    else
        node->data.erase( Combine( inClientID, inDataID ) );
}

bool XNetJobScheduler::AddJob( const XNewJob& inJob )
{
    return itsImp->AddJob( inJob );
}

bool XNetJobScheduler::NodeHoldsJob( std::uint32_t inNodeID, const XJobKey& inKey )
{
    Job* const job = itsImp->FindJob( inKey );
    Node* const node = itsImp->FindNode( inNodeID );
    if ( !job || !node )
        return false;
    if ( job->FindRun( *node ) )
        return true;
    itsImp->ClearOfSuspicion( *job ); // the node has outlived it
    if ( job->runCount == kMostRuns )
        return false;
    const bool isSuspended = job->isSuspended;
    itsImp->Assign( *job, *node );
    itsImp->SetSuspended( *job, isSuspended );
    return true;
}

void XNetJobScheduler::JobHasStarted( XTimeMS inNow, std::uint32_t inNodeID, const XJobKey& inKey )
{
    Job* const job = itsImp->FindJob( inKey );
    Node* const node = itsImp->FindNode( inNodeID );
    if ( !job || !node )
        return;
    if ( Run* const run = job->FindRun( *node ) )
        itsImp->Start( *job, *run, inNow );
}

bool XNetJobScheduler::JobHasEnded(
    std::uint32_t inNodeID, const XJobKey& inKey, std::uint64_t inRunMicroseconds )
{
    Job* const job = itsImp->FindJob( inKey );
    if ( !job )
        return false;
    Node* const node = itsImp->FindNode( inNodeID );
    if ( Run* const run = node ? job->FindRun( *node ) : nullptr )
    {
        itsImp->NoteDuration( *job, *run, inRunMicroseconds );
        itsImp->RemoveRun( *job, *run );
    }
    itsImp->StopRuns( *job );
    itsImp->Forget( *job );
    return true;
}

void XNetJobScheduler::JobWasReturned( std::uint32_t inNodeID, const XJobKey& inKey )
{
    Job* const job = itsImp->FindJob( inKey );
    Node* const node = itsImp->FindNode( inNodeID );
    if ( !job || !node )
        return;
    if ( Run* const run = job->FindRun( *node ) )
        itsImp->RunHasGone( *job, *run );
}

void XNetJobScheduler::StopJob( const XJobKey& inKey )
{
    Job* const job = itsImp->FindJob( inKey );
    if ( !job || job->isStopping )
        return;
    if ( job->runCount == 0 )
        return itsImp->ForgetAsStopped( *job );
    job->isStopping = true;
    itsImp->StopRuns( *job );
}

void XNetJobScheduler::SuspendJob( const XJobKey& inKey )
{
    if ( Job* const job = itsImp->FindJob( inKey ) )
        itsImp->SetSuspended( *job, true );
}

void XNetJobScheduler::ResumeJob( const XJobKey& inKey )
{
    if ( Job* const job = itsImp->FindJob( inKey ) )
        itsImp->SetSuspended( *job, false );
}

void XNetJobScheduler::RemoveClient( std::uint32_t inClientID )
{
    itsImp->RemoveClient( inClientID );
}

XVector<XNetJobScheduler::XAction> XNetJobScheduler::TakeActions( XTimeMS inNow )
{
    itsImp->AssignAll( inNow );
    return itsImp->TakeActions();
}

XNetJobScheduler::XCounts XNetJobScheduler::CountJobs( std::uint32_t inClientID ) const
{
    return itsImp->CountJobs( inClientID );
}

XNetJobScheduler::XOutlook XNetJobScheduler::GetOutlook( std::uint32_t inClientID ) const
{
    return itsImp->GetOutlook( inClientID );
}

XNetJobScheduler::XNodeCounts XNetJobScheduler::CountRuns( std::uint32_t inNodeID ) const
{
    return itsImp->CountRuns( inNodeID );
}
