#pragma once

#include "Core/Storables/XVersion.h"
#include "Network/XNetEndpoint.h"
#include "Threads/XMutex.h"

#include <functional>
#include <map>
#include <memory>

class XNetResponder;
class XServerRun;

/// Accepts connections and has a responder serve each; a subclass says what it listens on. Which kind of responder that
/// is, the peer tells by the first four bytes it sends, a version with its most significant byte first (the preamble); or
/// all connections are of one kind, which sends no preamble.
///
/// Connections that have not authenticated are limited in time and number: one that takes too long is ended, and so is
/// the oldest when there are too many. No responder is made before the preamble has arrived and is known.
///
/// Where the process or the system has no descriptors or memory left for another connection, accepting pauses until a
/// connection has ended, or for a moment, and a line a minute in the session log tells so.
///
/// Ownership: the server owns the responders it makes, and destroys each when it has ended.
/// Threads: kinds are registered before the start; start and `Stop` one at a time; the rest from any thread.
class KORVALE_API XServer
{
public:
    /// Makes a responder, which belongs to the server. Called on threads of the server, several at a time. What it throws
    /// ends the connection, as does null.
    using XMakeResponder = std::function<std::unique_ptr<XNetResponder>()>;

    struct XLimits
    {
        std::uint32_t authenticationMS = 10'000;
        std::uint32_t mostUnauthenticated = 64; ///< one at least
    };

    XServer( const XServer& ) = delete;
    XServer& operator=( const XServer& ) = delete;

    /// Stops.
    virtual ~XServer();

    /// Has connections with this preamble served by such responders.
    void RegisterResponder( const XVersion& inPreamble, XMakeResponder inMake );

    /// Has all connections served by such responders, without a preamble.
    void SetOnlyResponder( XMakeResponder inMake );

    /// Stops listening, ends all connections and waits until their responders have ended. Not to be called by a
    /// responder. Does nothing when the server does not run; it can be started again.
    void Stop();

    bool IsRunning() const { return GetRun() != nullptr; }

    /// Responders that serve a connection. One that has just ended may be counted, too.
    USize GetResponderCount() const;

    /// Connections that have not authenticated, those included that have not sent their preamble.
    USize GetUnauthenticatedCount() const;

    /// What a server is told before it starts.
    struct XSettings
    {
        XString name;
        XLimits limits;
        XMakeResponder makeOnly; // null: by preamble
        std::map<std::uint32_t, XMakeResponder> makers;
    };

protected:
    XServer( const XString& inName, const XLimits& inLimits );

    /// Accepts connections from now on; the listener is bound. Throws the system's last error when a thread cannot be
    /// started. A server that runs is an internal error.
    void StartAccepting( const XNetEndpoint& inListener );

    /// What the server listens on; an endpoint that is closed when it does not run.
    XNetEndpoint GetListener() const;

private:
    std::shared_ptr<XServerRun> GetRun() const;

    XSettings itsSettings;
    mutable XMutex itsMutex;
    std::shared_ptr<XServerRun> itsRun; // guarded by itsMutex
};
