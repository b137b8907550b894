#pragma once

#include "Core/Streams/XStorableT.h"
#include "NetJobs/XNetJobQueueNode.h"

/// A job as the control service hands it to a node, which fetches the job itself and its data afterwards. A value.
class KORVALE_API XNetJobQueueNode::XAssignedJobInfo
    : public XStorableT<XNetJobQueueNode::XAssignedJobInfo, kClassAssignedJobInfo>
{
public:
    XAssignedJobInfo() = default;
    /// There is a size for each ID; other numbers of them are 1013.
    XAssignedJobInfo(
        std::uint32_t inJobID, std::uint64_t inEstimatedSize, const XVector<std::uint32_t>& inJobDataIDs,
        const XVector<std::uint64_t>& inJobDataEstimatedSizes, std::uint32_t inClientID = 0 );
    XAssignedJobInfo( const XAssignedJobInfo& ) = default;
    XAssignedJobInfo& operator=( const XAssignedJobInfo& ) = default;
    ~XAssignedJobInfo() override;

    std::uint32_t GetJobID() const { return itsJobID; }
    /// The client that owns the job.
    std::uint32_t GetClientID() const { return itsClientID; }
    void SetClientID( std::uint32_t inClientID ) { itsClientID = inClientID; }

    /// Bytes of the stored job.
    std::uint64_t GetEstimatedSize() const { return itsEstimatedSize; }
    /// The shared data that the job has registered, and the bytes of each, so that a node knows what it will need.
    const XVector<std::uint32_t>& GetJobDataIDs() const { return itsJobDataIDs; }
    const XVector<std::uint64_t>& GetJobDataEstimatedSizes() const { return itsJobDataEstimatedSizes; }

    USize64 GetFieldsUsage() const;
    /// 1005 also where there is not a size for each ID.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    std::uint32_t itsJobID = 0;
    std::uint32_t itsClientID = 0;
    std::uint64_t itsEstimatedSize = 0;
    XVector<std::uint32_t> itsJobDataIDs;
    XVector<std::uint64_t> itsJobDataEstimatedSizes;
};
