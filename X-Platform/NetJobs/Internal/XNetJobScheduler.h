#pragma once

#include "Core/Storables/XVersion.h"
#include "Ground/XTypes.h"

#include <compare>
#include <memory>
#include <optional>
#include <span>

/// Assigns the jobs of clients to nodes. It has neither connections nor a clock: its owner reports events and the time,
/// and carries out the actions that it returns. The control service and the simulation in Benchmarks/ run the same code.
///
/// Rules:
/// 1. A node is assigned jobs of the classes that it supports only, in at most the revision that it supports.
/// 2. The node with the smallest ratio of assigned jobs to workers is served first. It is assigned at most as many jobs as
///    it has workers, and for each worker as many more as fill `kPrefetchMS` at the mean duration of its last jobs, at
///    least 1 and at most `kMostPrefetch`.
/// 3. Clients take turns, job by job. The jobs of a client are assigned in the order in which they were added or resumed.
///    Returned jobs and jobs of lost nodes keep their place. A job whose shared data the node holds goes first if it is
///    among the first `kLookahead`.
/// 4. The jobs of a lost node become suspected of having ended it. A node is assigned one suspected job at a time, so that
///    the next loss does not hit two of them. A job is failed when `kMostLosses` nodes in succession were lost with it. A
///    node that comes back with a job, or returns one that it has started, clears it of suspicion.
/// 5. When no job waits and a worker is idle, a job that a node has not started for lack of idle workers is recalled and
///    assigned to the idle worker. If there is none, the job that has run longest is assigned a second time, if it has
///    run for at least `kMinimumRunMS` and for twice the mean duration of its client's jobs of that class. The first
///    result counts; the other run is stopped.
///
/// Events about nodes, clients or jobs that are unknown (any more) are ignored.
///
/// Costs: the time of an operation does not depend on the numbers of jobs and nodes, except logarithmically; that of an
/// assignment grows with the number of clients that have waiting jobs of classes that no node supports.
/// Threads: one thread at a time.
class KORVALE_API XNetJobScheduler
{
public:
    /// Milliseconds of a steady clock.
    using XTimeMS = std::uint64_t;

    static constexpr std::uint64_t kPrefetchMS = 100;
    static constexpr std::uint64_t kMostPrefetch = 256;
    static constexpr int kLookahead = 64;
    static constexpr std::uint32_t kMostLosses = 3;
    static constexpr XTimeMS kMinimumRunMS = 1000;

    struct XJobKey
    {
        std::uint32_t clientID = 0;
        std::uint32_t jobQueueID = 0;
        std::uint32_t jobID = 0;
        friend auto operator<=>( const XJobKey&, const XJobKey& ) = default;
    };

    struct XNewJob
    {
        XJobKey key;
        XVersion jobClass;
        XVector<std::uint32_t> sharedDataIDs;
        bool isSuspended = false;
    };

    enum XActionKind : std::uint32_t
    {
        kAssign,  ///< assign the job to the node
        kRecall,  ///< have the node return the job unless it has started
        kStop,    ///< have the node stop the job
        kStopped, ///< report to the client that the job was stopped; the job is forgotten
        kFailed,  ///< report to the client that the nodes were lost; the job is forgotten
    };

    struct XAction
    {
        XActionKind kind;
        std::uint32_t nodeID; ///< 0 for kStopped and kFailed
        XJobKey key;
        friend bool operator==( const XAction&, const XAction& ) = default;
    };

    struct XCounts
    {
        USize waiting = 0;
        USize suspended = 0;
        USize assigned = 0;
    };

    /// What the next waiting job of a client waits for.
    struct XOutlook
    {
        std::optional<XJobKey> nextJob; ///< none if no job of the client waits
        USize otherWaitingClients = 0;  ///< each takes at most one turn before that job
        std::uint64_t workers = 0; ///< of the nodes that accept jobs of any class that the client has used
    };

    struct XNodeCounts
    {
        USize assigned = 0;
        USize started = 0;                 ///< of those
        std::optional<XJobKey> longestJob; ///< the started job that has run longest
        XTimeMS longestStart = 0;          ///< when it has started
    };

    XNetJobScheduler();
    XNetJobScheduler( const XNetJobScheduler& ) = delete;
    XNetJobScheduler& operator=( const XNetJobScheduler& ) = delete;
    ~XNetJobScheduler();

    // ---- Nodes

    /// Adds a node, which must not be known. A node without workers counts as one with one worker.
    void AddNode( std::uint32_t inNodeID, std::uint32_t inWorkers, std::span<const XVersion> inJobClasses );

    /// A node that does not accept jobs keeps those that it has.
    void SetAcceptsJobs( std::uint32_t inNodeID, bool inAcceptsJobs );

    /// The node has been lost, or has logged off. Its jobs wait again.
    void RemoveNode( std::uint32_t inNodeID, bool inIsLost );

    void SetHoldsData(
        std::uint32_t inNodeID, std::uint32_t inClientID, std::uint32_t inDataID, bool inHoldsData );

    // ---- Jobs

    /// Returns false for a job that is known already.
    bool AddJob( const XNewJob& inJob );

    /// Registers a job that the node has from an earlier logon, which clears it of suspicion. Returns false if the node is to drop it: the job is unknown
    /// or has two runs already.
    bool NodeHoldsJob( std::uint32_t inNodeID, const XJobKey& inKey );

    void JobHasStarted( XTimeMS inNow, std::uint32_t inNodeID, const XJobKey& inKey );

    /// Returns whether this is the first result of the job, which is then forgotten. The node need not be one to which the
    /// job is assigned at present.
    bool JobHasEnded( std::uint32_t inNodeID, const XJobKey& inKey, std::uint64_t inRunMicroseconds );

    /// The node has returned the job without a result. It waits again, or is suspended or stopped as requested.
    void JobWasReturned( std::uint32_t inNodeID, const XJobKey& inKey );

    /// Stops a job: kStopped follows at once, or the node reports the end.
    void StopJob( const XJobKey& inKey );

    /// Suspends a job that has not started; one that a node has not started is recalled, and not suspended any more if the
    /// node has started it meanwhile.
    void SuspendJob( const XJobKey& inKey );
    /// Appends a suspended job to the waiting ones.
    void ResumeJob( const XJobKey& inKey );

    /// Stops and forgets all jobs of the client.
    void RemoveClient( std::uint32_t inClientID );

    // ---- Decisions

    /// Assigns what can be assigned. Returns all actions since the last call in the order in which they are to be carried
    /// out. Call it after events, and regularly for the sake of rule 5.
    XVector<XAction> TakeActions( XTimeMS inNow );

    /// Counts of the client's jobs. An assigned job counts once.
    XCounts CountJobs( std::uint32_t inClientID ) const;

    /// Takes time in proportion to the number of nodes.
    XOutlook GetOutlook( std::uint32_t inClientID ) const;

    /// Takes time in proportion to the jobs of the node.
    XNodeCounts CountRuns( std::uint32_t inNodeID ) const;

private:
    class XImp;
    const std::unique_ptr<XImp> itsImp;
};
