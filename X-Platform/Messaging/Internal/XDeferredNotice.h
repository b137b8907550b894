#pragma once

#include "Messaging/Internal/XDeferredQueue.h"

/// A message that a listener sends to itself on the main thread, with guaranteed delivery: it is allocated in
/// advance, so posting it cannot fail, and predicates that withdraw messages do not apply to it. Internal.
///
/// Lifetime: the listener withdraws the notice before its `StopListening`, and destroys it afterwards.
/// Threads: any thread may post and withdraw.
class XDeferredNotice
{
public:
    XDeferredNotice( std::unique_ptr<XMessage> inMessage, XListener& inListener );
    XDeferredNotice( const XDeferredNotice& ) = delete;
    XDeferredNotice& operator=( const XDeferredNotice& ) = delete;
    ~XDeferredNotice();

    /// Queues the notice for the main thread's next event, unless it is already queued.
    void Post() noexcept;

    void Withdraw() noexcept;

private:
    XDeferredQueue::XEntry itsEntry;
};
