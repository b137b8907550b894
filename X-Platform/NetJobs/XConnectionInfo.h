#pragma once

#include "Core/Streams/XStorableT.h"
#include "NetJobs/XNetJobQueue.h"
#include "Network/XNetAddress.h"

/// Describes how two parts of a deployment exchange the data of a job queue on a connection of their own: the source
/// connects to the destination, and data flows in both directions. A value. The queues send none: their data travels with
/// the jobs.
///
/// Threads: one thread at a time, queries of the address included (XNetAddress).
class KORVALE_API XNetJobQueue::XConnectionInfo
    : public XStorableT<XNetJobQueue::XConnectionInfo, kClassConnectionInfo>
{
public:
    XConnectionInfo() = default;
    XConnectionInfo(
        std::uint32_t inJobQueueID, std::uint32_t inSourceID, XRemoteType inSourceType,
        std::uint32_t inDestinationID, XRemoteType inDestinationType, XDataTransferMethod inMethod,
        const XNetAddress& inDestinationAddress );
    XConnectionInfo( const XConnectionInfo& ) = default;
    XConnectionInfo& operator=( const XConnectionInfo& ) = default;
    ~XConnectionInfo() override;

    std::uint32_t GetJobQueueID() const { return itsJobQueueID; }
    /// Clients and nodes have the IDs assigned at logon; the control service has 0.
    std::uint32_t GetSourceID() const { return itsSourceID; }
    XRemoteType GetSourceType() const { return itsSourceType; }
    std::uint32_t GetDestinationID() const { return itsDestinationID; }
    XRemoteType GetDestinationType() const { return itsDestinationType; }
    XDataTransferMethod GetMethod() const { return itsMethod; }
    /// The data server to connect to: the destination's, or the control service's for relayed data.
    const XNetAddress& GetDestinationAddress() const { return itsDestinationAddress; }

    USize64 GetFieldsUsage() const;
    /// Throws 1005 also for unknown types and methods, and if the object is not an address.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    std::uint32_t itsJobQueueID = 0;
    std::uint32_t itsSourceID = 0;
    XRemoteType itsSourceType = kRemoteClient;
    std::uint32_t itsDestinationID = 0;
    XRemoteType itsDestinationType = kRemoteClient;
    XDataTransferMethod itsMethod = kTransferDirect;
    XNetAddress itsDestinationAddress;
};
