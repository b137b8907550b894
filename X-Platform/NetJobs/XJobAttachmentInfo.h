#pragma once

#include "Core/Storables/XVersion.h"
#include "Core/Streams/XStorableT.h"
#include "Core/Strings/XString.h"
#include "NetJobs/XNetJobQueue.h"

/// Describes an object that belongs to a job: an input of its body, or an output. A value. The queues send none: a job
/// stores its inputs, its result the outputs.
class KORVALE_API XNetJobQueue::XJobAttachmentInfo
    : public XStorableT<XNetJobQueue::XJobAttachmentInfo, kClassJobAttachmentInfo>
{
public:
    XJobAttachmentInfo() = default;
    /// In the order of the queries below.
    XJobAttachmentInfo(
        std::uint32_t inJobID, const XVersion& inClassID, const XString& inDescription,
        const XVector<std::uint32_t>& inSharedDataIDs, std::uint64_t inDataSize, bool inIsOutput );
    XJobAttachmentInfo( const XJobAttachmentInfo& ) = default;
    XJobAttachmentInfo& operator=( const XJobAttachmentInfo& ) = default;
    ~XJobAttachmentInfo() override;

    std::uint32_t GetJobID() const { return itsJobID; }
    /// The class of the object.
    const XVersion& GetClassID() const { return itsClassID; }
    /// The name of the attachment, unique within the job.
    const XString& GetDescription() const { return itsDescription; }
    /// The shared data that the object requires.
    const XVector<std::uint32_t>& GetSharedDataIDs() const { return itsSharedDataIDs; }
    /// Size of the stored object, in bytes.
    std::uint64_t GetDataSize() const { return itsDataSize; }
    /// False for an input, sent by the client with the job; true for an output, sent by the node with the result.
    bool IsOutput() const { return itsIsOutput; }

    USize64 GetFieldsUsage() const;
    /// Throws 1005 also if the two constants of the layout differ.
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
