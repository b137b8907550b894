#pragma once

#include "Messaging/Internal/XDeferredQueue.h"
#include "Messaging/XListener.h"

/// The listeners of one speaker, and the mutex under which it speaks. Internal: the list is shared by the
/// speaker, by each subscription and by each call of the speaker in progress, so that all of them can reach it
/// however the others end. Order of locking: this mutex, then a listener's, then that of the queues.
///
/// A call pins the list first and uses nothing but the list from then on. It touches the speaker only under
/// the mutex, having seen that the speaker has not stopped: the speaker's end takes the mutex to stop it.
///
/// While a broadcast is on, nodes keep their places, and what was removed is only marked; clean-up follows
/// when the outermost broadcast is over. Among many nodes a removed one stays, empty, until half of them are.
class XListenerList
{
public:
    explicit XListenerList( XSpeaker& inSpeaker ) : itsSpeaker( &inSpeaker ) {}
    XListenerList( const XListenerList& ) = delete;
    XListenerList& operator=( const XListenerList& ) = delete;

    class XPin;

    /// The reference of a subscription.
    void AddReference() { itsReferences.fetch_add( 1, std::memory_order_relaxed ); }
    void Release();

    /// Gives up a pin: that of a call, or the one that the speaker has from the start.
    void Unpin();

    XMutex& GetMutex() { return itsMutex; }

    /// Null once the speaker has stopped. Under the mutex the speaker stays alive.
    XSpeaker* GetSpeaker() const { return itsSpeaker.load( std::memory_order_acquire ); }

    /// From now on nobody can subscribe and nothing can be queued.
    void SpeakerStopped() { itsSpeaker.store( nullptr, std::memory_order_release ); }

    void Subscribe( XListener& inListener );
    void Unsubscribe( XListener& inListener );
    void HardUnsubscribe( XListener& inListener );

    /// Returns whether the list could be locked, which a broadcast on another thread prevents, within the time.
    bool TryHardUnsubscribe( XListener& inListener, std::uint32_t inTimeoutMs );
    void RemoveAll();

    /// Removes the node of a listener that comes to its end.
    void RemoveDying( XListener& inListener );

    USize GetListenerCount();
    bool HasListeners() const { return itsSubscriptions.load( std::memory_order_relaxed ) > 0; }
    bool HasAsynchronousListeners() const
    {
        return itsAsynchronousSubscriptions.load( std::memory_order_relaxed ) > 0;
    }

    /// Kept by the listeners, under their mutexes.
    void CountSubscription( std::int32_t inStep, bool inIsAsynchronous );
    void CountAsynchronous( std::int32_t inStep )
    {
        itsAsynchronousSubscriptions.fetch_add( inStep, std::memory_order_relaxed );
    }

    /// Sends a message to the listeners at once, unless the speaker has stopped. The caller has a pin.
    void
    Broadcast( const XMessage& inMessage, bool inIsForced, const XSpeaker::XListenerVector& inExclusions );

    /// The walks of a broadcast. The last one calls asynchronous listeners only; it returns whether any other
    /// listener still has to hear the message, and who has heard it.
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

    // What is read to queue a message, and behind it, apart, what is written to deliver one on another
    // thread.
    std::atomic<XSpeaker*> itsSpeaker; // written under the mutex
    std::atomic<std::int32_t> itsSubscriptions = 0;
    std::atomic<std::int32_t> itsAsynchronousSubscriptions = 0;
    std::atomic<std::uint32_t> itsPins = 1; // those of calls, and the speaker's

    alignas( kCacheLine ) XMutex itsMutex;        // guards what follows
    std::atomic<std::uint32_t> itsReferences = 1; // those of subscriptions, and one for all pins
    XVector<XNode> itsNodes;
    std::unique_ptr<std::unordered_map<const XListener*, USize>> itsPlaces; // of these, where they are many
    USize itsEmptyNodes = 0;                                                // of no listener
    std::uint32_t itsAdditions = 0; // of nodes, which may have moved them
    std::uint32_t itsBroadcastDepth = 0;
    bool itsNeedsCleanup = false;
};

/// Keeps a list for the length of a call.
class XListenerList::XPin
{
public:
    /// What the call has read of the speaker before comes before the speaker's end.
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
