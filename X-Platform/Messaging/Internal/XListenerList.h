#pragma once

#include "Messaging/Internal/XDeferredQueue.h"
#include "Messaging/XListener.h"

/// The listeners of one speaker, and the mutex that it holds while it speaks. Internal. The list is shared by
/// the speaker, its subscriptions and its running calls, so that each of them can use it however the others
/// end. Order of locks: this mutex, then a listener's, then that of the queues.
///
/// A call pins the list first and uses only the list from then on. It accesses the speaker only under the
/// mutex, after checking that the speaker has not stopped: a stopping speaker takes the mutex.
///
/// During a broadcast, nodes stay in place, and removed ones are only marked; they are cleaned up when the
/// outermost broadcast ends. In a long list, removed nodes stay as empty ones until half of the nodes are
/// empty.
class XListenerList
{
public:
    explicit XListenerList( XSpeaker& inSpeaker ) : itsSpeaker( &inSpeaker ) {}
    XListenerList( const XListenerList& ) = delete;
    XListenerList& operator=( const XListenerList& ) = delete;

    class XPin;

    /// The reference held by a subscription.
    void AddReference() { itsReferences.fetch_add( 1, std::memory_order_relaxed ); }
    void Release();

    /// Releases a pin: that of a call, or the initial one of the speaker.
    void Unpin();

    XMutex& GetMutex() { return itsMutex; }

    /// Null once the speaker has stopped. The speaker stays alive while the mutex is held.
    XSpeaker* GetSpeaker() const { return itsSpeaker.load( std::memory_order_acquire ); }

    /// Ends subscribing and queueing.
    void SpeakerStopped() { itsSpeaker.store( nullptr, std::memory_order_release ); }

    void Subscribe( XListener& inListener );
    void Unsubscribe( XListener& inListener );
    void HardUnsubscribe( XListener& inListener );

    /// Returns false if the list could not be locked in time, because another thread is broadcasting.
    bool TryHardUnsubscribe( XListener& inListener, std::uint32_t inTimeoutMS );
    void RemoveAll();

    /// Removes the node of a listener that is being destroyed.
    void RemoveDying( XListener& inListener );

    USize GetListenerCount();
    bool HasListeners() const { return itsSubscriptions.load( std::memory_order_relaxed ) > 0; }
    bool HasAsynchronousListeners() const
    {
        return itsAsynchronousSubscriptions.load( std::memory_order_relaxed ) > 0;
    }

    /// Maintained by the listeners, under their mutexes.
    void CountSubscription( std::int32_t inStep, bool inIsAsynchronous );
    void CountAsynchronous( std::int32_t inStep )
    {
        itsAsynchronousSubscriptions.fetch_add( inStep, std::memory_order_relaxed );
    }

    /// Sends a message to the listeners immediately, unless the speaker has stopped. The caller holds a pin.
    void
    Broadcast( const XMessage& inMessage, bool inIsForced, const XSpeaker::XListenerVector& inExclusions );

    /// The passes of a broadcast. CallAsynchronous calls asynchronous listeners only; it returns whether any
    /// other listener has yet to receive the message, and the listeners served.
    void CallAll( const XMessage& inMessage );
    void CallAllBut( const XSpeaker::XListenerVector& inExclusions, const XMessage& inMessage );
    bool CallAsynchronous(
        const XMessage& inMessage, const XSpeaker::XListenerVector& inExclusions,
        XSpeaker::XListenerVector& outServed );

    /// The speaker's queued messages; guarded by the mutex of the queues.
    XDeferredQueue::XEntry* itsFirstQueued = nullptr;

private:
    class XBroadcast;
    using XNode = XListener::XNode;

    static constexpr USize kCacheLine = 64;

    ~XListenerList() = default;

    XNode* FindNode( const XListener& inListener );
    XNode& FindOrAddNode( XListener& inListener, bool inMayBeThere );
    void ForgetPlace( const XListener* inListener );
    void RemoveNode( XNode& inNode );
    void RemoveEmptyNodes();
    void CleanupAfterMessage();

    // Members read to queue a message come first; those written to deliver one on another thread are on a
    // separate cache line.
    std::atomic<XSpeaker*> itsSpeaker; // written under the mutex
    std::atomic<std::int32_t> itsSubscriptions = 0;
    std::atomic<std::int32_t> itsAsynchronousSubscriptions = 0;
    std::atomic<std::uint32_t> itsPins = 1; // those of calls and of the speaker

    alignas( kCacheLine ) XMutex itsMutex;        // guards the members below
    std::atomic<std::uint32_t> itsReferences = 1; // those of subscriptions, and one for all pins
    XVector<XNode> itsNodes;
    std::unique_ptr<std::unordered_map<const XListener*, USize>> itsPlaces; // of itsNodes, if there are many
    USize itsEmptyNodes = 0;                                                // without listener
    std::uint32_t itsAdditions = 0; // of nodes, which may have moved the nodes
    std::uint32_t itsBroadcastDepth = 0;
    bool itsNeedsCleanup = false;
};

/// Pins a list for the duration of a call.
class XListenerList::XPin
{
public:
    /// Acquire-release, so that everything the call has read of the speaker happens before the speaker's end.
    explicit XPin( XListenerList& inList ) : itsList( inList )
    {
        itsList.itsPins.fetch_add( 1, std::memory_order_acq_rel );
    }
    XPin( const XPin& ) = delete;
    XPin& operator=( const XPin& ) = delete;
    ~XPin() { itsList.Unpin(); }

    XListenerList& operator*() const { return itsList; }
    XListenerList* operator->() const { return &itsList; }

private:
    XListenerList& itsList;
};
