#pragma once

#include "Core/Storables/XVersion.h"
#include "Core/Streams/XStorableT.h"
#include "Core/Strings/XString.h"
#include "NetJobs/XNetJobQueue.h"

/// Describes an object that travels beside a job: data that its body reads, or data that it has made. A value.
class KORVALE_API XNetJobQueue::XJobAttachmentInfo
    : public XStorableT<XNetJobQueue::XJobAttachmentInfo, kClassJobAttachmentInfo>
{
public:
    XJobAttachmentInfo() = default;
    /// See the queries below.
    XJobAttachmentInfo(
        std::uint32_t inJobID, const XVersion& inClassID, const XString& inDescription,
        const XVector<std::uint32_t>& inSharedDataIDs, std::uint64_t inDataSize, bool inIsOutput );
    XJobAttachmentInfo( const XJobAttachmentInfo& ) = default;
    XJobAttachmentInfo& operator=( const XJobAttachmentInfo& ) = default;
    ~XJobAttachmentInfo() override;

    std::uint32_t GetJobID() const { return itsJobID; }
    /// The class of the object.
    const XVersion& GetClassID() const { return itsClassID; }
    /// By which the job's class knows the attachment among those of the job.
    const XString& GetDescription() const { return itsDescription; }
    /// The shared data that has to be there for the object to be used.
    const XVector<std::uint32_t>& GetSharedDataIDs() const { return itsSharedDataIDs; }
    /// The bytes of the stored object.
    std::uint64_t GetDataSize() const { return itsDataSize; }
    /// False for what the client sends to the node with the job, true for what the node sends back with the result.
    bool IsOutput() const { return itsIsOutput; }

    USize64 GetFieldsUsage() const;
    /// 1005 also where the two constants of the layout are others.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    std::uint32_t itsJobID = 0;
    XVersion itsClassID;
    XString itsDescription;
    XVector<std::uint32_t> itsSharedDataIDs;
    std::uint64_t itsDataSize = 0;
    bool itsIsOutput = false;
};
