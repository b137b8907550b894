#pragma once

#include "Network/XNetEndpoint.h"
#include "Threads/XThread.h"

#include <functional>

/// Serves one connection on its own thread. Derive a class and implement `RespondSelf`; servers create the
/// object, pass it the connection and destroy it when it has ended.
///
/// The connection must authenticate: until `SetAuthenticated` is called, a server may end it in favour of
/// others.
///
/// Ownership: the creator owns the object; if a server created it, the server does. The destructor of the
/// most derived class must call `StopResponding`, while the members that `RespondSelf` uses exist.
/// Threads: every operation may be called from any thread.
/// Errors: 3101 if the responder has no endpoint: none yet, or it has been detached.
class KORVALE_API XNetResponder : private XThread
{
public:
    ~XNetResponder() override;

    /// Takes the connection and starts to serve it. Once per object. If no thread can be started, throws the
    /// system's last error and ends the connection.
    void StartResponding( const XNetEndpoint& inEndpoint );

    /// End the connection and ask the thread to stop; StopResponding waits until it has ended. On the thread
    /// itself, the stop is thrown.
    void AsyncStopResponding();
    void StopResponding();

    bool IsResponding() const { return IsThreadRunning() || IsThreadSuspended(); }

    /// The connection; the copy shares it.
    XNetEndpoint GetEndpoint() const;

    /// Removes the connection from the responder and its server and returns it: it does not end with them any
    /// more.
    XNetEndpoint DetachEndpoint();

    /// Marks the peer as authenticated. Called by the code that serves the connection.
    void SetAuthenticated();
    bool IsAuthenticated() const { return itsIsAuthenticated; }

protected:
    explicit XNetResponder( const XString& inName );

    /// Serves the connection, which ends when this returns or throws. 3100 and 3101 are the ordinary end;
    /// other errors of an authenticated connection are written to the session log.
    virtual void RespondSelf() = 0;

private:
    friend class XServerRun;

    /// Called on the responder's thread, or on the thread that authenticates or detaches it.
    struct XHooks
    {
        std::function<void()> forget; // the connection is not a stranger any more
        std::function<void()> ended;  // the thread's last use of the object
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
