#pragma once

#include "NetJobs/Internal/XNetJobScheduler.h"

#include <algorithm>
#include <array>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

// The tables of XNetJobScheduler.
//
// Jobs wait in one ordered list for each client and class, so that the next job of a class is found without a search, and
// jobs of a class that no node supports delay no others. Nodes that support the same classes form a group. A group keeps
// its nodes with room ordered by their load, and once more those of them that have no suspected job.
//
// A job has up to two runs: assignments to nodes. Runs are in the list of their node in the order of assignment, in which
// nodes start them.

namespace XNetJobTables
{

using XJobKey = XNetJobScheduler::XJobKey;
using XTimeMS = XNetJobScheduler::XTimeMS;

/// A job has up to two runs: assignments to nodes.
constexpr USize kMostRuns = 2;

inline std::uint64_t Combine( std::uint32_t inHigh, std::uint32_t inLow )
{
    return std::uint64_t{ inHigh } << 32 | inLow;
}

/// Exponential average of durations, in microseconds.
class MeanDuration
{
public:
    void Add( std::uint64_t inMicroseconds )
    {
        constexpr double kWeight = 0.125;
        const double value = static_cast<double>( inMicroseconds );
        itsMean = itsMean ? *itsMean + kWeight * ( value - *itsMean ) : value;
    }
    bool IsKnown() const { return itsMean.has_value(); }
    double Get() const { return itsMean.value_or( 0 ); }

private:
    std::optional<double> itsMean;
};

struct Job;
struct Node;

using JobOrder = std::map<std::uint64_t, Job*>; // by serial number

/// The jobs of one class of a client.
struct JobClass
{
    JobOrder plain;
    JobOrder suspected;
    MeanDuration duration;

    JobOrder& GetOrder( const Job& inJob );
};

struct Run
{
    Node* node = nullptr;
    std::list<Job*>::iterator place; // in the list of the node
    XTimeMS startTime = 0;
    bool hasStarted = false;
    bool isSuspected = false;
};

struct Client
{
    std::unordered_map<std::uint64_t, Job> jobs; // by job queue and job
    std::map<XVersion, JobClass> classes;
    USize waitingCount = 0;
    USize assignedCount = 0;
};

struct Job
{
    XJobKey key;
    Client* client = nullptr;
    JobClass* jobClass = nullptr;
    XVersion version;
    std::uint32_t losses = 0;
    std::uint64_t serial = 0;
    XVector<std::uint32_t> sharedDataIDs;
    std::array<Run, kMostRuns> runs;
    USize runCount = 0;
    std::optional<std::list<Job*>::iterator> startPlace; // among the started jobs that may get a second run
    bool isStopping = false;
    bool isSuspended = false;

    bool IsWaiting() const { return runCount == 0 && !isSuspended; }
    std::span<Run> GetRuns() { return { runs.data(), runCount }; }
    Run* FindRun( const Node& inNode )
    {
        const auto run = std::ranges::find( GetRuns(), &inNode, &Run::node );
        return run == GetRuns().end() ? nullptr : &*run;
    }
    bool HasStarted() { return std::ranges::any_of( GetRuns(), &Run::hasStarted ); }
};

inline JobOrder& JobClass::GetOrder( const Job& inJob )
{
    return inJob.losses > 0 ? suspected : plain;
}

using NodeOrder = std::set<std::pair<std::uint64_t, std::uint32_t>>; // by load, then by ID

/// Nodes that support the same classes.
struct NodeGroup
{
    XVector<XVersion> classes; // in order, one revision of each
    NodeOrder withRoom;
    NodeOrder withoutSuspect; // those of them

    bool Supports( const XVersion& inClass ) const
    {
        const auto found =
            std::ranges::lower_bound( classes, inClass.GetClassID(), {}, &XVersion::GetClassID );
        return found != classes.end() && found->GetClassID() == inClass.GetClassID() &&
            found->GetClassRevision() >= inClass.GetClassRevision();
    }
    bool SupportsAnyOf( const Client& inClient ) const
    {
        const auto isSupported = [this]( const auto& inClass ) { return Supports( inClass.first ); };
        return std::ranges::any_of( inClient.classes, isSupported );
    }
};

struct Node
{
    std::uint32_t id = 0;
    std::uint32_t workers = 1;
    NodeGroup* group = nullptr;
    bool acceptsJobs = true;
    std::list<Job*> runs;
    USize suspectCount = 0;
    MeanDuration duration;
    std::uint64_t load = 0;                 // by which it is in the orders of its group
    std::unordered_set<std::uint64_t> data; // by client and data

    bool IsIdle() const { return runs.size() < workers; }
    bool HasBacklog() const { return runs.size() > workers; }

    std::uint64_t GetCapacity() const
    {
        constexpr double kPrefetchMicroseconds = XNetJobScheduler::kPrefetchMS * 1000.0;
        std::uint64_t prefetch = 1;
        if ( duration.IsKnown() )
            prefetch = static_cast<std::uint64_t>( std::clamp(
                kPrefetchMicroseconds / std::max( duration.Get(), 1.0 ), 1.0,
                static_cast<double>( XNetJobScheduler::kMostPrefetch ) ) );
        return workers * ( 1 + prefetch );
    }

    bool HoldsDataOf( const Job& inJob ) const
    {
        return std::ranges::all_of(
            inJob.sharedDataIDs,
            [&]( std::uint32_t inID ) { return data.contains( Combine( inJob.key.clientID, inID ) ); } );
    }
};

/// The classes in order, the newest revision of each.
inline XVector<XVersion> NormaliseClasses( std::span<const XVersion> inClasses )
{
    const auto byClass = []( const XVersion& inLeft, const XVersion& inRight )
    {
        return std::pair( inLeft.GetClassID(), inRight.GetClassRevision() ) <
            std::pair( inRight.GetClassID(), inLeft.GetClassRevision() );
    };
    XVector<XVersion> classes( inClasses.begin(), inClasses.end() );
    std::ranges::sort( classes, byClass );
    const auto isSame = []( const XVersion& inLeft, const XVersion& inRight )
    { return inLeft.GetClassID() == inRight.GetClassID(); };
    classes.erase( std::unique( classes.begin(), classes.end(), isSame ), classes.end() );
    return classes;
}

} // namespace XNetJobTables
