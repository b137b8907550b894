#pragma once

#include "Messaging/Internal/XDeferredQueue.h"

/// A message that a listener sends to itself on the main thread, and that always arrives: it is made
/// beforehand, so that posting it cannot fail, and it is not withdrawn from the queue with the messages that a
/// predicate selects. Internal.
///
/// Lifetime: the listener withdraws the notice before its `StopListening`, and destroys it afterwards.
/// Threads: any thread posts and withdraws.
class XDeferredNotice
{
public:
    XDeferredNotice( std::unique_ptr<XMessage> inMessage, XListener& inListener );
    XDeferredNotice( const XDeferredNotice& ) = delete;
    XDeferredNotice& operator=( const XDeferredNotice& ) = delete;
    ~XDeferredNotice();

    /// Queues the notice for the main thread's next event unless it is queued already.
    void Post() noexcept;

    void Withdraw() noexcept;

private:
    XDeferredQueue::XEntry itsEntry;
};
