#pragma once

#include "Core/Streams/XStorableT.h"
#include "Core/Strings/XString.h"

/// The state of a control service at one time: its nodes, its clients, and what went wrong recently. A value.
///
/// Errors: reading throws 1005, 1015, 1260.
class KORVALE_API XNetJobStatus : public XStorableT<XNetJobStatus, kClassNetJobStatus>
{
public:
    static constexpr std::uint64_t kThroughputPeriodMS = 5000;
    static constexpr USize kMostThroughputPeriods = 120; ///< ten minutes

    /// What nodes and clients have in common.
    struct XPeer
    {
        std::uint32_t id = 0;
        XString name;
        XString computerName;
        std::uint64_t assignedJobs = 0;     ///< those that have started included
        std::uint64_t completedJobs = 0;    ///< first results since the logon
        std::uint64_t jobsInTenSeconds = 0; ///< completed in the last ten seconds
        bool isConnected = true;            ///< false: may still log on again
    };

    struct XNode : XPeer
    {
        std::uint32_t workers = 0;
        std::uint64_t startedJobs = 0;
        std::uint64_t silentMS = 0;     ///< since the last batch
        std::uint64_t memoryInUse = 0;  ///< of the node's process, in bytes; 0 if not reported yet
        std::uint64_t memoryBudget = 0; ///< of its memory manager, in bytes; 0 if not reported yet
        /// The started job that has run longest; all 0 if there is none.
        std::uint32_t currentClientID = 0;
        std::uint32_t currentJobID = 0;
        std::uint32_t currentJobClass = 0; ///< raw version
        std::uint64_t currentRunMS = 0;
    };

    struct XClient : XPeer
    {
        std::uint64_t waitingJobs = 0;
        std::uint64_t suspendedJobs = 0;
    };

    /// A lost peer, a refused logon or a failed job.
    struct XFailure
    {
        std::uint64_t ageMS = 0;
        XString text; ///< one line
    };

    XNetJobStatus() = default;
    XNetJobStatus( const XNetJobStatus& ) = default;
    XNetJobStatus& operator=( const XNetJobStatus& ) = default;
    ~XNetJobStatus() override;

    USize64 GetFieldsUsage() const;
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

    std::uint64_t completedJobs = 0;    ///< by all nodes since the start of the service
    std::uint64_t jobsInTenSeconds = 0; ///< completed in the last ten seconds
    std::uint64_t failureCount = 0;     ///< since the start of the service
    XVector<XNode> nodes;               ///< in the order of their IDs
    XVector<XClient> clients;           ///< in the order of their IDs
    XVector<XFailure> failures;         ///< the newest 50, the oldest first
    /// Jobs completed in each period of `kThroughputPeriodMS`, the oldest first. Those before the first completed job
    /// and the present one are left out.
    XVector<std::uint64_t> throughput;
};
