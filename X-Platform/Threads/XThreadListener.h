#pragma once

#include "Ground/XTypes.h"

enum XThreadEvent : std::uint32_t
{
    kThreadStarted = 0,
    kThreadFinishing = 1
};

/// Hears of every XThread of the process that starts running or ends, on that thread, before `StartThread`
/// returns and before the thread counts as ended.
///
/// A listener hears events from `StartListening` to `StopListening`. Call them at the end of the constructor
/// and at the start of the destructor of the most derived class: an event may come at once, on any thread.
/// Threads: events come one at a time, under `XThread::sThreadListenerMutex`; a listener may start and stop
/// listening while it hears one.
class KORVALE_API XThreadListener
{
public:
    XThreadListener( const XThreadListener& ) = delete;
    XThreadListener& operator=( const XThreadListener& ) = delete;
    virtual ~XThreadListener() = default;

    /// What it throws is swallowed.
    virtual void ThreadEvent( XThreadEvent inEvent ) = 0;

protected:
    XThreadListener() = default;

    /// Appends this to the list of listeners, which hear events in that order.
    void StartListening();

    /// Internal error "it != sThreadListeners.end()" for a listener that does not listen.
    void StopListening();
};
