#pragma once

#include "Core/Storables/XVersion.h"
#include "Network/XNetEndpoint.h"
#include "Threads/XMutex.h"

#include <functional>
#include <map>
#include <memory>

class XNetResponder;
class XNetServerRun;

/// Accepts connections on a port and has a responder serve each. Which kind of responder that is, the peer tells by the
/// first four bytes it sends, a version with its most significant byte first (the preamble); or all connections are of
/// one kind, which sends no preamble.
///
/// Connections that have not authenticated are limited in time and number: one that takes too long is ended, and so is
/// the oldest when there are too many. No responder is made before the preamble has arrived and is known.
///
/// Where the process or the system has no descriptors or memory left for another connection, accepting pauses until a
/// connection has ended, or for a moment, and a line a minute in the session log tells so.
///
/// Ownership: the server owns the responders it makes, and destroys each when it has ended.
/// Threads: kinds are registered before `Start`; `Start` and `Stop` one at a time; the rest from any thread.
class KORVALE_API XNetServer
{
public:
    /// Makes a responder, which belongs to the server. Called on threads of the server, several at a time. What it throws
    /// ends the connection.
    using XMakeResponder = std::function<std::unique_ptr<XNetResponder>()>;

    struct XLimits
    {
        std::uint32_t authenticationMS = 10'000;
        std::uint32_t mostUnauthenticated = 64;
    };

    explicit XNetServer( const XString& inName );
    XNetServer( const XString& inName, const XLimits& inLimits );
    XNetServer( const XNetServer& ) = delete;
    XNetServer& operator=( const XNetServer& ) = delete;

    /// Stops.
    ~XNetServer();

    /// Has connections with this preamble served by such responders.
    void RegisterResponder( const XVersion& inPreamble, XMakeResponder inMake );

    /// Has all connections served by such responders, without a preamble.
    void SetOnlyResponder( XMakeResponder inMake );

    /// Listens on a port, 0 for any free one, and accepts from now on. Errors as in `XNetEndpoint::Bind`, and the
    /// system's last error when a thread cannot be started. A server that runs is an internal error.
    void Start( std::int32_t inPort, std::uint32_t inBacklog = XNetEndpoint::kMostBacklog );

    /// Stops listening, ends all connections and waits until their responders have ended. Not to be called by a
    /// responder. Does nothing when the server does not run; it can be started again.
    void Stop();

    /// The port that the server listens on; 0 when it does not run.
    std::int32_t GetPort() const;

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

private:
    std::shared_ptr<XNetServerRun> GetRun() const;

    XSettings itsSettings;
    mutable XMutex itsMutex;
    std::shared_ptr<XNetServerRun> itsRun; // guarded by itsMutex
};
