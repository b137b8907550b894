#pragma once

#include "Core/Times/XTimer.h"
#include "Servers/XNetResponder.h"
#include "Servers/XServer.h"
#include "Threads/XConditionVariable.h"

#include <deque>
#include <list>

/// The state of a running server, from start to stop. Internal to XServer.
///
/// The acceptor accepts connections and records each as a stranger until it has authenticated. Greeters, as
/// many as there are strangers at a time, wait for their preambles and start the responders. The watch ends
/// strangers that take too long and destroys responders that have ended. Strangers are ordered by age: their
/// numbers increase.
class XServerRun
{
public:
    XServerRun( const XServer::XSettings& inSettings, const XNetEndpoint& inListener );
    ~XServerRun();

    void Stop();

    XNetEndpoint GetListener() const { return itsListener; }
    USize GetResponderCount() const;
    USize GetStrangerCount() const;

private:
    using XNumber = std::uint64_t;

    struct XStranger
    {
        XNetEndpoint endpoint;
        XTimer timer;
    };

    /// Destroyed when neither the thread that starts the responder nor the responder's own uses it any more.
    struct XServed
    {
        std::unique_ptr<XNetResponder> responder;
        int users = 2;
    };

    /// A thread that runs one function of the server, which ends when the thread is stopped.
    class XWorker : public XThread
    {
    public:
        XWorker( XServerRun& inRun, const char* inRole, void ( XServerRun::*inBody )() );
        ~XWorker() override;

    private:
        std::int32_t RunThreadSelf() override;

        XServerRun& itsRun;
        void ( XServerRun::*const itsBody )();
    };

    void Accept();
    void AcceptOne();
    void Admit( const XNetEndpoint& inEndpoint );
    XNumber AddStranger( const XNetEndpoint& inEndpoint );
    void AddGreeterIfNeeded();
    void PauseAccepting( const XException& inError );

    void Greet();
    XNumber WaitForStranger( XNetEndpoint& outEndpoint );
    void GreetStranger( XNumber inNumber, XNetEndpoint& inEndpoint );
    void
    MakeResponder( XNumber inNumber, const XNetEndpoint& inEndpoint, const XServer::XMakeResponder& inMake );
    void Serve( XNumber inNumber, const XNetEndpoint& inEndpoint, std::unique_ptr<XNetResponder> inMade );
    void End( XNumber inNumber, const XNetEndpoint& inEndpoint );
    void Forget( XNumber inNumber );
    void Ended( XNumber inNumber );
    void LetGo( XNumber inNumber );

    void Watch();
    void DestroyEnded();
    void DropExpired();
    std::uint32_t GetTimeToNextExpiry() const;

    const XServer::XSettings itsSettings;
    XNetEndpoint itsListener;

    mutable XMutex itsMutex;
    XConditionVariable itsHasGreetings;
    XConditionVariable itsHasChanged;
    XConditionVariable itsHasRoom;
    // Guarded by itsMutex:
    XNumber itsLastNumber = 0;
    std::map<XNumber, XStranger> itsStrangers;
    std::deque<XNumber> itsToGreet;
    USize itsIdleGreeters = 0;
    std::map<XNumber, XServed> itsServed;
    XVector<std::unique_ptr<XNetResponder>> itsEnded; // to be destroyed

    XTimer itsPauseLogTimer; // used by the acceptor only
    bool itsHasLoggedPause = false;
    std::list<XWorker> itsGreeters; // used by the acceptor until it has ended
    XWorker itsWatch;
    XWorker itsAcceptor;
};
