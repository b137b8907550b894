#pragma once

#include "Network/XNetEndpoint.h"
#include "Threads/XThread.h"

#include <functional>

/// Serves one connection on a thread of its own. Derive from it and implement `RespondSelf`; servers make the object,
/// give it the connection and destroy it when it has ended.
///
/// The connection has to prove itself: until `SetAuthenticated` is called, a server may end it for the sake of others.
///
/// Ownership: whoever makes the object owns it, unless a server does. The destructor of the most derived class calls
/// `StopResponding`, while the members exist that `RespondSelf` uses.
/// Threads: every operation may be called from any thread.
/// Errors: 3101 where the responder has no endpoint: it has been detached, or has none yet.
class KORVALE_API XNetResponder : private XThread
{
public:
    ~XNetResponder() override;

    /// Takes the connection and begins to serve it. Once per object. Throws the system's last error when no thread can be
    /// started; then the connection is ended.
    void StartResponding( const XNetEndpoint& inEndpoint );

    /// Ends the connection and asks the thread to stop; the second waits until it has. On the thread itself that is
    /// thrown as a stop.
    void AsyncStopResponding();
    void StopResponding();

    bool IsResponding() const { return IsThreadRunning() || IsThreadSuspended(); }

    /// The connection; a copy shares it.
    XNetEndpoint GetEndpoint() const;

    /// Gives the connection away: it does not end with the responder or its server any more, for which it does not exist
    /// from now on.
    XNetEndpoint DetachEndpoint();

    /// The peer has shown that it may be here. Called by what serves the connection.
    void SetAuthenticated();
    bool IsAuthenticated() const { return itsIsAuthenticated; }

protected:
    explicit XNetResponder( const XString& inName );

    /// Serves the connection; when this returns or throws, the connection is ended. 3100 and 3101 are the ordinary end;
    /// other errors of an authenticated connection go to the session log.
    virtual void RespondSelf() = 0;

private:
    friend class XServerRun;

    /// Called on the responder's thread, or on that which authenticates or detaches it.
    struct XHooks
    {
        std::function<void()> forget; // the connection is no stranger any more
        std::function<void()> ended;  // the last that the thread does with the object
    };

    std::int32_t RunThreadSelf() override;
    void FinishThreadSelf() override;
    void EndConnection();
    void LogError( const XException& inError ) const;

    XHooks itsHooks; // set before the thread starts
    mutable XMutex itsMutex;
    std::unique_ptr<XNetEndpoint> itsEndpoint; // guarded by itsMutex
    std::atomic<bool> itsIsAuthenticated = false;
};
