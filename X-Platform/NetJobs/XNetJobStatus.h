#pragma once

#include "Core/Streams/XStorableT.h"
#include "Core/Strings/XString.h"

/// The state of a control service at one time: its nodes, its clients, and what went wrong recently. A value.
///
/// Errors: reading throws 1005, 1015, 1260.
class KORVALE_API XNetJobStatus : public XStorableT<XNetJobStatus, kClassNetJobStatus>
{
public:
    struct XNode
    {
        std::uint32_t id = 0;
        XString name;
        XString computerName;
        std::uint32_t workers = 0;
        std::uint64_t assignedJobs = 0; ///< those that have started included
        std::uint64_t startedJobs = 0;
        std::uint64_t completedJobs = 0; ///< first results since the logon
        std::uint64_t silentMS = 0;      ///< since the last batch
        bool isConnected = true;         ///< false: may still log on again
    };

    struct XClient
    {
        std::uint32_t id = 0;
        XString name;
        XString computerName;
        std::uint64_t waitingJobs = 0;
        std::uint64_t suspendedJobs = 0;
        std::uint64_t assignedJobs = 0;
        std::uint64_t completedJobs = 0; ///< since the logon
        bool isConnected = true;
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
    XVector<XNode> nodes;               ///< in the order of their IDs
    XVector<XClient> clients;           ///< in the order of their IDs
    XVector<XFailure> failures;         ///< the newest 50, the oldest first
};
