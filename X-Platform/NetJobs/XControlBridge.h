#pragma once

#include "NetJobs/XLogonInfo.h"
#include "NetJobs/XLogonResult.h"
#include "NetJobs/XNetJobEvent.h"
#include "NetJobs/XNetJobStatus.h"
#include "RemoteCalls/XRPCBridge.h"

/// A bridge between a control service and its clients and nodes. The preamble of this class selects it on the
/// main port of the service.
///
/// A client or node has two connections: it logs on and sends on the first one, and receives on the second one. When it
/// loses either, or a call fails, it closes both and logs on again with its former ID. The end of the first connection
/// counts as the end of the logon. The ID in a call is that of the logon; calls of an earlier logon, or of one that the
/// service has ended, throw 3100. See docs/network-jobs.md.
class KORVALE_API XControlBridge : public XRPCBridge
{
public:
    using XRPCBridge::XRPCBridge;
    ~XControlBridge() override;

    using XEvents = XVector<XNetJobEvent>;

    // ---- First connection

    /// The former ID is 0 at the first logon. 3092 for an application that is not compatible with the service.
    XREMOTE_METHOD_ONCE(
        2000, XNetJobQueue::XLogonResult, LogOnClient, XAppVersion::XAppAndComputerInfo, std::uint32_t )
    /// The events report the jobs and results that the node has (kHolds, kEnded).
    XREMOTE_METHOD_ONCE(
        2001, XNetJobQueue::XLogonResult, LogOnNode, XNetJobQueueNode::XLogonInfo, std::uint32_t, XEvents )
    /// An empty batch is a heartbeat, which is due every second.
    XREMOTE_METHOD_ONCE( 2002, void, Send, std::uint32_t, XEvents )
    XREMOTE_METHOD_ONCE( 2003, void, LogOff, std::uint32_t )

    // ---- Second connection

    /// Returns the next events as soon as there are any, none after that many milliseconds (at most 1000).
    XREMOTE_METHOD_ONCE( 2004, XEvents, Receive, std::uint32_t, std::uint32_t )

    // ---- Any connection, without a logon

    XREMOTE_METHOD( 2005, XNetJobStatus, GetStatus )

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;
};
