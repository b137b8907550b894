#pragma once

#include "Core/Storables/XRefPtr.h"
#include "Core/Times/XTimer.h"
#include "RemoteCalls/XRPCBridge.h"
#include "Threads/XMutex.h"

#include <map>

/// The bidirectional sessions of the process that clients have requested and not connected to yet. Internal to XRPCBridge.
/// Threads: any.
class XRPCSessions
{
public:
    static XRPCSessions& Get();

    /// The number of a new session, valid once and for a time. 3096 while the bridge has one that is valid.
    std::uint32_t Request(
        XRPCBridge& ioBridge, std::uint32_t inTimeoutMS, const std::function<std::uint32_t()>& inDrawNumber );

    /// The bridge that has requested the session, which is not valid any more. 3097 for a number that is not.
    XRefPtr<XRPCBridge> Take( std::uint32_t inNumber );

    void Withdraw( const XRPCBridge& inBridge );

private:
    struct XSession
    {
        XRPCBridge* bridge;
        XTimer timer;
    };

    void DropExpired();

    XMutex itsMutex;
    std::map<std::uint32_t, XSession> itsSessions; // guarded by itsMutex
};
