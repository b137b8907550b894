#pragma once

#include "Core/Streams/XStorableT.h"
#include "NetJobs/XNetJobQueueNode.h"

/// Describes a job that is assigned to a node. A value. The control service sends none: it assigns a job with
/// XNetJobEvent::kAssign.
class KORVALE_API XNetJobQueueNode::XAssignedJobInfo
    : public XStorableT<XNetJobQueueNode::XAssignedJobInfo, kClassAssignedJobInfo>
{
public:
    XAssignedJobInfo() = default;
    /// Throws 1013 unless there is one size for each ID.
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

    /// Size of the stored job, in bytes.
    std::uint64_t GetEstimatedSize() const { return itsEstimatedSize; }
    /// The shared data that the job has registered, and the size of each in bytes.
    const XVector<std::uint32_t>& GetJobDataIDs() const { return itsJobDataIDs; }
    const XVector<std::uint64_t>& GetJobDataEstimatedSizes() const { return itsJobDataEstimatedSizes; }

    USize64 GetFieldsUsage() const;
    /// Throws 1005 also if the lists differ in length.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    std::uint32_t itsJobID = 0;
    std::uint32_t itsClientID = 0;
    std::uint64_t itsEstimatedSize = 0;
    XVector<std::uint32_t> itsJobDataIDs;
    XVector<std::uint64_t> itsJobDataEstimatedSizes;
};
