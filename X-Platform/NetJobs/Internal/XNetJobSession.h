#pragma once

#include "Core/Storables/XRefPtr.h"
#include "NetJobs/XControlBridge.h"
#include "NetJobs/XNetJobDeployment.h"
#include "Threads/XConditionVariable.h"
#include "Threads/XThread.h"

#include <functional>

class XException;

/// The connections of a client or node to its control service: one thread logs on and sends, another receives. When a
/// connection or a call fails, both connections are closed, and the first thread logs on again with pauses of up to ten
/// seconds. Batches may be lost with the connections; the owner makes up for them in its next logon.
///
/// Threads: any; the hooks are called on the threads of the session, without locks of it.
class XNetJobSession
{
public:
    using XEvents = XControlBridge::XEvents;

    struct XHooks
    {
        /// Logs on and returns the ID. Later batches of `takeEvents` follow this logon.
        std::function<std::uint32_t( XControlBridge& ioBridge, std::uint32_t inFormerID )> logOn;
        /// Returns the next events to send; none if there is nothing to do.
        std::function<XEvents()> takeEvents;
        /// Handles received events.
        std::function<void( const XEvents& )> handleEvents;
    };

    XNetJobSession( const XNetJobDeployment& inDeployment, XHooks inHooks );
    XNetJobSession( const XNetJobSession& ) = delete;
    XNetJobSession& operator=( const XNetJobSession& ) = delete;
    /// Stops.
    ~XNetJobSession();

    /// Connects and logs on once, then begins. Throws if repetition does not help: 3092, the errors of TLS and of
    /// authentication; if the service cannot be reached at present, continues to try.
    void Start();

    /// There are events to send.
    void Wake();

    /// Sends what `takeEvents` returns and logs off, for at most the time-out if the service is connected, then ends the
    /// connections and the threads. Must not be called by a hook.
    void Stop( std::uint32_t inTimeoutMS = 1000 );

    bool IsConnected() const;

    /// Why the last attempt to connect failed; 0 after a successful one.
    std::uint32_t GetConnectionError() const;

private:
    using XBridgePtr = XRefPtr<XControlBridge>;

    class XLoop : public XThread
    {
    public:
        XLoop( const XString& inName, std::function<void()> inBody );
        ~XLoop() override;

    private:
        std::int32_t RunThreadSelf() override;

        const std::function<void()> itsBody;
    };

    XBridgePtr Connect() const;
    void LogOn();
    void NoteFailure( const XException& inError );
    void NoteLoss() const;
    bool TryToLogOn();
    void Disconnect();
    void Pause( std::uint32_t inTimeMS );
    void SendLoop();
    void SendBatches();
    bool SendOnce();
    void FinishSending( XControlBridge& ioSender, std::uint32_t inID );
    bool AwaitWork();
    void ReceiveLoop();
    XBridgePtr AwaitReceiver( std::uint32_t& outID );

    const XNetJobDeployment itsDeployment;
    const XHooks itsHooks;

    mutable XMutex itsMutex; // guards the following
    XConditionVariable itsHasChanged;
    XBridgePtr itsSender; // both null: not logged on
    XBridgePtr itsReceiver;
    std::uint32_t itsID = 0; // of the last logon
    std::uint32_t itsConnectionError = 0;
    bool itsHasWork = false;
    bool itsIsStopping = false;
    bool itsHasLoggedOff = false;

    XLoop itsSendingThread;
    XLoop itsReceivingThread;
};
