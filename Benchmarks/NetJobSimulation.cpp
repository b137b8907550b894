// Simulates a deployment with the scheduler of the control service: nodes with 16 workers, clients with jobs of mixed
// duration, lost nodes. Clock and network are simulated. Prints utilisation, fairness, the longest wait, the bytes through
// the control service and the processor time.
//
//     netjob_simulation [NODES [JOBS [LOSSES]]]    LOSSES: share of the nodes lost per hour, in percent

#include "NetJobs/Internal/XNetJobScheduler.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <queue>
#include <random>
#include <span>
#include <unordered_map>
#include <vector>

namespace
{

using XAction = XNetJobScheduler::XAction;
using XJobKey = XNetJobScheduler::XJobKey;

constexpr std::uint32_t kWorkers = 16;
constexpr std::uint32_t kClients = 8;
constexpr double kLatency = 0.001;    // of a message, in seconds
constexpr double kBatchPeriod = 0.01; // between two assignments by the control service
constexpr double kLossNotice = 12;    // until the control service treats a silent node as lost
constexpr double kRestart = 60;       // until a lost node logs on again
constexpr double kRecordBytes = 48;   // an event through the control service without contents
constexpr double kJobBytes = 200;     // contents of a job, and of a result
constexpr XVersion kClass( 40000, 0 );

/// Nine in ten jobs take about a second, the others about a minute.
class Durations
{
public:
    explicit Durations( std::mt19937_64& ioRandom ) : itsRandom( ioRandom ) {}
    double Draw()
    {
        const double mean = itsIsLong( itsRandom ) ? 60 : 1;
        return mean * itsSpread( itsRandom );
    }

private:
    std::mt19937_64& itsRandom;
    std::bernoulli_distribution itsIsLong{ 0.1 };
    std::lognormal_distribution<> itsSpread{ -0.125, 0.5 }; // mean 1
};

enum EventKind
{
    kArrives, // a job at its node
    kEnds,    // a run
    kCalls,   // the node must drop the job: unless it runs (recall), or in any case (stop)
    kBreaks,
    kIsLost,
    kRecovers,
    kAssigns, // the control service
};

struct Event
{
    double time;
    std::uint64_t serial;
    EventKind kind;
    std::uint32_t node = 0;
    std::uint32_t life = 0; // of the node; events of an earlier one are void
    std::uint32_t job = 0;
    bool isStop = false;

    bool operator>( const Event& inOther ) const
    {
        return std::pair( time, serial ) > std::pair( inOther.time, inOther.serial );
    }
};

struct Node
{
    std::uint32_t life = 0;
    std::deque<std::uint32_t> backlog;
    std::unordered_map<std::uint32_t, double> running; // job, and its start
};

struct Job
{
    double duration = 0;
    bool isDone = false;
};

class Simulation
{
public:
    Simulation( std::uint32_t inNodes, std::uint32_t inJobs, double inLossesPerHour );
    void Run();
    void Report() const;

private:
    void Schedule(
        double inDelay, EventKind inKind, std::uint32_t inNode = 0, std::uint32_t inJob = 0,
        bool inIsStop = false );
    void Handle( const Event& inEvent );
    void Decide();
    void StartJobs( std::uint32_t inNode );
    void NoteStart( std::uint32_t inJob );
    void EndRun( std::uint32_t inNode, std::uint32_t inJob );
    void Drop( std::uint32_t inNode, std::uint32_t inJob, bool inIsStop );
    XJobKey MakeKey( std::uint32_t inJob ) const { return { 1 + inJob % kClients, 1, inJob }; }

    std::mt19937_64 itsRandom{ 1 };
    XNetJobScheduler itsScheduler;
    std::priority_queue<Event, std::vector<Event>, std::greater<>> itsEvents;
    std::vector<Node> itsNodes;
    std::vector<Job> itsJobs;
    double itsLossRate; // of all nodes, per second
    double itsNow = 0;
    std::uint64_t itsSerial = 0;
    std::uint32_t itsJobsLeft;

    double itsUsefulTime = 0;
    double itsUsefulWhileWaiting = 0;
    double itsLongestWait = 0; // until the first start
    std::uint32_t itsUnstarted;
    std::vector<bool> itsWasAssigned;
    std::vector<bool> itsWasStarted;
    std::vector<double> itsShares = std::vector<double>( kClients ); // of useful time
    double itsFairness = 1;
    double itsBytes = 0;
    std::uint64_t itsRecalls = 0;
    std::uint64_t itsRepeats = 0;
    std::uint64_t itsLosses = 0;
    std::uint64_t itsFailed = 0;
};

Simulation::Simulation( std::uint32_t inNodes, std::uint32_t inJobs, double inLossesPerHour )
    : itsNodes( inNodes + 1 ), itsJobs( inJobs ), itsLossRate( inNodes * inLossesPerHour / 3600 ),
      itsJobsLeft( inJobs ), itsUnstarted( inJobs ), itsWasAssigned( inJobs ), itsWasStarted( inJobs )
{
    Durations durations( itsRandom );
    for ( std::uint32_t job = 0; job < inJobs; ++job )
    {
        itsJobs[job].duration = durations.Draw();
        itsBytes += kRecordBytes + kJobBytes;
        itsScheduler.AddJob( { MakeKey( job ), kClass, {}, false } );
    }
    for ( std::uint32_t node = 1; node <= inNodes; ++node )
        itsScheduler.AddNode( node, kWorkers, std::span( &kClass, 1 ) );
    Schedule( 0, kAssigns );
    if ( itsLossRate > 0 )
        Schedule( std::exponential_distribution<>( itsLossRate )( itsRandom ), kBreaks );
}

void Simulation::Schedule(
    double inDelay, EventKind inKind, std::uint32_t inNode, std::uint32_t inJob, bool inIsStop )
{
    itsEvents.push(
        { itsNow + inDelay, ++itsSerial, inKind, inNode, itsNodes[inNode].life, inJob, inIsStop } );
}

void Simulation::Run()
{
    while ( itsJobsLeft > 0 && !itsEvents.empty() )
    {
        const Event event = itsEvents.top();
        itsEvents.pop();
        itsNow = event.time;
        if ( event.node == 0 || event.life == itsNodes[event.node].life )
            Handle( event );
    }
}

void Simulation::Handle( const Event& inEvent )
{
    Node& node = itsNodes[inEvent.node];
    switch ( inEvent.kind )
    {
    case kArrives:
        node.backlog.push_back( inEvent.job );
        StartJobs( inEvent.node );
        break;
    case kEnds:
        EndRun( inEvent.node, inEvent.job );
        break;
    case kCalls:
        Drop( inEvent.node, inEvent.job, inEvent.isStop );
        break;
    case kBreaks:
    {
        const std::uint32_t broken = 1 + static_cast<std::uint32_t>( itsRandom() % ( itsNodes.size() - 1 ) );
        ++itsNodes[broken].life;
        itsNodes[broken].backlog.clear();
        itsNodes[broken].running.clear();
        ++itsLosses;
        Schedule( kLossNotice, kIsLost, broken );
        Schedule( std::exponential_distribution<>( itsLossRate )( itsRandom ), kBreaks );
        break;
    }
    case kIsLost:
        itsScheduler.RemoveNode( inEvent.node, true );
        Schedule( kRestart, kRecovers, inEvent.node );
        break;
    case kRecovers:
        itsScheduler.AddNode( inEvent.node, kWorkers, std::span( &kClass, 1 ) );
        break;
    case kAssigns:
        Decide();
        Schedule( kBatchPeriod, kAssigns );
        break;
    }
}

void Simulation::Decide()
{
    const auto actions = itsScheduler.TakeActions( static_cast<std::uint64_t>( itsNow * 1000 ) );
    for ( const XAction& action : actions )
    {
        const std::uint32_t job = action.key.jobID;
        itsBytes += kRecordBytes;
        if ( action.kind == XNetJobScheduler::kFailed )
        {
            ++itsFailed;
            --itsJobsLeft;
            continue;
        }
        if ( action.kind != XNetJobScheduler::kAssign )
        {
            itsRecalls += action.kind == XNetJobScheduler::kRecall;
            Schedule( kLatency, kCalls, action.nodeID, job, action.kind == XNetJobScheduler::kStop );
            continue;
        }
        itsBytes += kJobBytes;
        itsRepeats += itsWasAssigned[job];
        itsWasAssigned[job] = true;
        Schedule( kLatency, kArrives, action.nodeID, job );
    }
}

void Simulation::StartJobs( std::uint32_t inNode )
{
    Node& node = itsNodes[inNode];
    while ( node.running.size() < kWorkers && !node.backlog.empty() )
    {
        const std::uint32_t job = node.backlog.front();
        node.backlog.pop_front();
        node.running[job] = itsNow;
        NoteStart( job );
        itsBytes += kRecordBytes;
        itsScheduler.JobHasStarted( static_cast<std::uint64_t>( itsNow * 1000 ), inNode, MakeKey( job ) );
        Schedule( itsJobs[job].duration, kEnds, inNode, job );
    }
}

/// Takes stock when the last job has started for the first time.
void Simulation::NoteStart( std::uint32_t inJob )
{
    if ( itsWasStarted[inJob] )
        return;
    itsWasStarted[inJob] = true;
    if ( --itsUnstarted > 0 )
        return;
    itsLongestWait = itsNow;
    const auto [least, most] = std::ranges::minmax_element( itsShares );
    itsFairness = *least / *most;
    itsUsefulWhileWaiting = itsUsefulTime;
    std::unordered_map<std::uint32_t, double> oldestRuns;
    for ( const Node& node : itsNodes )
        for ( const auto& [job, start] : node.running )
            oldestRuns[job] = std::max( oldestRuns[job], itsJobs[job].isDone ? 0 : itsNow - start );
    for ( const auto& [job, time] : oldestRuns )
        itsUsefulWhileWaiting += time;
}

void Simulation::EndRun( std::uint32_t inNode, std::uint32_t inJob )
{
    if ( itsNodes[inNode].running.erase( inJob ) == 0 )
        return; // stopped
    Job& job = itsJobs[inJob];
    itsBytes += 2 * ( kRecordBytes + kJobBytes ); // to the control service and on to the client
    const std::uint64_t microseconds = static_cast<std::uint64_t>( job.duration * 1e6 );
    const bool isFirst = itsScheduler.JobHasEnded( inNode, MakeKey( inJob ), microseconds );
    if ( isFirst )
    {
        job.isDone = true;
        itsUsefulTime += job.duration;
        itsShares[inJob % kClients] += job.duration;
        --itsJobsLeft;
    }
    StartJobs( inNode );
}

void Simulation::Drop( std::uint32_t inNode, std::uint32_t inJob, bool inIsStop )
{
    Node& node = itsNodes[inNode];
    const bool hasDropped =
        std::erase( node.backlog, inJob ) > 0 || ( inIsStop && node.running.erase( inJob ) > 0 );
    if ( hasDropped && !inIsStop )
        itsScheduler.JobWasReturned( inNode, MakeKey( inJob ) );
    StartJobs( inNode );
}

void Simulation::Report() const
{
    const double capacity = static_cast<double>( itsNodes.size() - 1 ) * kWorkers;
    const double jobs = static_cast<double>( itsJobs.size() );
    std::printf( "nodes %zu, jobs %zu, clients %u\n", itsNodes.size() - 1, itsJobs.size(), kClients );
    std::printf( "duration                          %10.1f s\n", itsNow );
    std::printf(
        "utilisation while jobs wait       %10.2f %%\n",
        100 * itsUsefulWhileWaiting / ( capacity * itsLongestWait ) );
    std::printf(
        "utilisation in all                %10.2f %%\n", 100 * itsUsefulTime / ( capacity * itsNow ) );
    std::printf( "fairness: least / most client     %10.4f\n", itsFairness );
    std::printf( "longest wait for the start        %10.1f s\n", itsLongestWait );
    std::printf( "nodes lost                        %10llu\n", static_cast<unsigned long long>( itsLosses ) );
    std::printf(
        "jobs assigned again, recalled     %10llu %llu\n", static_cast<unsigned long long>( itsRepeats ),
        static_cast<unsigned long long>( itsRecalls ) );
    std::printf( "jobs failed                       %10llu\n", static_cast<unsigned long long>( itsFailed ) );
    std::printf( "bytes through the control service %10.0f per job\n", itsBytes / jobs );
    const double processorTime = static_cast<double>( std::clock() ) / CLOCKS_PER_SEC;
    std::printf( "processor time with the simulation %9.2f us per job\n", 1e6 * processorTime / jobs );
}

} // namespace

int main( int inCount, char** inArguments )
{
    const auto argument = [&]( int inIndex, double inDefault )
    { return inCount > inIndex ? std::atof( inArguments[inIndex] ) : inDefault; };
    Simulation simulation(
        static_cast<std::uint32_t>( argument( 1, 10'000 ) ),
        static_cast<std::uint32_t>( argument( 2, 1'000'000 ) ), argument( 3, 1 ) / 100 );
    simulation.Run();
    simulation.Report();
    return EXIT_SUCCESS;
}
