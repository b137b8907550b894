#pragma once

#include "Core/Storables/XVersion.h"
#include "Network/XNetEndpoint.h"
#include "Threads/XMutex.h"

#include <functional>
#include <map>
#include <memory>

class XNetResponder;
class XServerRun;

/// Accepts connections and creates a responder to serve each; subclasses define what it listens on. The first
/// four bytes from the peer, the preamble, select the kind of responder: they are a version with its most
/// significant byte first. Alternatively, all connections have the same kind of responder and there is no
/// preamble.
///
/// Unauthenticated connections are limited in time and number: one that takes too long is ended, and so is
/// the oldest if there are too many. A responder is created only after a known preamble has arrived.
///
/// If the process or the system has no descriptors or memory left for another connection, accepting pauses
/// until a connection has ended, or for a moment; this is written to the session log once a minute.
///
/// Ownership: the server owns its responders and destroys each when it has ended.
/// Threads: register responders before the start; start and `Stop` one at a time; the rest from any thread.
class KORVALE_API XServer
{
public:
    /// Creates a responder, which the server then owns. Called on threads of the server, several at a time.
    /// An exception or a null result ends the connection.
    using XMakeResponder = std::function<std::unique_ptr<XNetResponder>()>;

    struct XLimits
    {
        std::uint32_t authenticationMS = 10'000;
        std::uint32_t mostUnauthenticated = 64; ///< at least 1
    };

    XServer( const XServer& ) = delete;
    XServer& operator=( const XServer& ) = delete;

    /// Stops the server.
    virtual ~XServer();

    /// Selects the responders for connections with this preamble.
    void RegisterResponder( const XVersion& inPreamble, XMakeResponder inMake );

    /// Selects the responders for all connections, without a preamble.
    void SetOnlyResponder( XMakeResponder inMake );

    /// Stops listening, ends all connections and waits until their responders have ended. Must not be called
    /// by a responder. Does nothing if the server is not running; it can be started again.
    void Stop();

    bool IsRunning() const { return GetRun() != nullptr; }

    /// The number of responders that serve a connection, possibly including one that has just ended.
    USize GetResponderCount() const;

    /// The number of connections that have not authenticated, including those that have not sent their
    /// preamble.
    USize GetUnauthenticatedCount() const;

    /// The configuration of a server, set before it starts.
    struct XSettings
    {
        XString name;
        XLimits limits;
        XMakeResponder makeOnly; // null: selected by preamble
        std::map<std::uint32_t, XMakeResponder> makers;
    };

protected:
    XServer( const XString& inName, const XLimits& inLimits );

    /// Starts accepting connections; the listener must be bound. Throws the system's last error if a thread
    /// cannot be started. An internal error if the server is running.
    void StartAccepting( const XNetEndpoint& inListener );

    /// The endpoint that the server listens on; a closed one if it is not running.
    XNetEndpoint GetListener() const;

private:
    std::shared_ptr<XServerRun> GetRun() const;

    XSettings itsSettings;
    mutable XMutex itsMutex;
    std::shared_ptr<XServerRun> itsRun; // guarded by itsMutex
};
