#pragma once

#include "Ground/XTypes.h"

/// What happens to a thread.
enum XThreadEvent : std::uint32_t
{
    kThreadStarted = 0,
    kThreadFinishing = 1
};

/// Receives notifications of every XThread of the process that starts or ends. They are delivered on that
/// thread, before `StartThread` returns and before the thread counts as ended.
///
/// A listener is notified from `StartListening` to `StopListening`. Call these at the end of the constructor
/// and at the start of the destructor of the most derived class: an event may arrive at once, on any thread.
/// Threads: events arrive one at a time, under `XThread::sThreadListenerMutex`; a listener may start and stop
/// listening while it handles one.
class KORVALE_API XThreadListener
{
public:
    XThreadListener( const XThreadListener& ) = delete;
    XThreadListener& operator=( const XThreadListener& ) = delete;
    virtual ~XThreadListener() = default;

    /// Handles an event; exceptions are swallowed.
    virtual void ThreadEvent( XThreadEvent inEvent ) = 0;

protected:
    XThreadListener() = default;

    /// Appends this object to the list of listeners, which are notified in that order.
    void StartListening();

    /// Internal error "it != sThreadListeners.end()" if this object is not listening.
    void StopListening();
};
