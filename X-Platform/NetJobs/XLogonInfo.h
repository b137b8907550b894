#pragma once

#include "Core/Streams/XStorableT.h"
#include "NetJobs/XNetJobQueueNode.h"
#include "Services/XAppAndComputerInfo.h"

/// The information that a node sends when it logs on to the control service. A value.
class KORVALE_API XNetJobQueueNode::XLogonInfo
    : public XStorableT<XNetJobQueueNode::XLogonInfo, kClassLogonInfo>
{
public:
    XLogonInfo() = default;
    /// In the order of the queries below.
    XLogonInfo(
        XNodeType inNodeType, const XAppVersion::XAppAndComputerInfo& inInfo,
        const XVector<XVersion>& inSupportedJobClasses, bool inHoldsJobs, std::uint32_t inWorkerCount );
    XLogonInfo( const XLogonInfo& ) = default;
    XLogonInfo& operator=( const XLogonInfo& ) = default;
    ~XLogonInfo() override;

    XNodeType GetNodeType() const { return itsNodeType; }
    const XAppVersion::XAppAndComputerInfo& GetInfo() const { return itsInfo; }
    /// The supported job classes, with the newest supported revision of each.
    const XVector<XVersion>& GetSupportedJobClasses() const { return itsSupportedJobClasses; }
    /// Whether the node has jobs from an earlier logon, which it reports next.
    bool HoldsJobs() const { return itsHoldsJobs; }
    /// The number of jobs that the node runs at a time.
    std::uint32_t GetWorkerCount() const { return itsWorkerCount; }

    USize64 GetFieldsUsage() const;
    /// Throws 1005 also for an unknown node type, and if the object is of another class.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    XNodeType itsNodeType = kNodePermanent;
    XAppVersion::XAppAndComputerInfo itsInfo;
    XVector<XVersion> itsSupportedJobClasses;
    bool itsHoldsJobs = false;
    std::uint32_t itsWorkerCount = 0;
};
