#pragma once

#include "Core/Storables/XRefPtr.h"
#include "Core/Times/XTimer.h"
#include "RemoteCalls/XRPCBridge.h"
#include "Threads/XMutex.h"

#include <map>

/// The pending bidirectional sessions of the process: requested by clients and not yet connected. Internal to
/// XRPCBridge.
/// Threads: any.
class XRPCSessions
{
public:
    static XRPCSessions& Get();

    /// Returns the number of a new session, valid once and until the time-out. 3096 while the bridge has a
    /// valid one.
    std::uint32_t Request(
        XRPCBridge& ioBridge, std::uint32_t inTimeoutMS, const std::function<std::uint32_t()>& inDrawNumber );

    /// Returns the bridge that issued the session number and invalidates the number. 3097 for an invalid
    /// number.
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
