#pragma once

#include "Threads/XMutex.h"

#include <memory>
#include <set>
#include <string>
#include <typeinfo>
#include <unordered_map>

class XListenerList;
class XMessage;
class XSpeaker;

/// Receives the messages of the speakers it has subscribed to, and messages posted to it. An ordinary
/// listener is called on the main thread only, unless a speaker requests otherwise
/// (`XSpeaker::kWhenImmediate`). An asynchronous listener is called on any thread, possibly on several at
/// once, and protects its own data.
///
/// Lifetime: it may be destroyed while other threads send to it, unsubscribe it or destroy its speakers, and
/// from within its own `HandleMessage`: the destructor waits for broadcasts and posts in progress on other
/// threads, and no message is delivered afterwards. Once the destructor has begun, no post may begin, and
/// `Subscribe`, `SetAsynchronous`, `SetIsDeaf` and copying the listener must have returned on other threads.
/// If other threads may be calling it, the destructor of the most derived class must begin with
/// `StopListening()`: the base's destructor calls it too, but only after the derived members have been
/// destroyed.
/// Threads: every operation may be called from any thread.
class KORVALE_API XListener
{
public:
    explicit XListener( bool inIsAsynchronous = false ) : XListener( inIsAsynchronous, CallListeners ) {}

    /// A copy has the original's asynchronous and deaf settings but no subscriptions. Assignment changes
    /// nothing: these settings belong to each listener.
    XListener( const XListener& inOther );
    XListener& operator=( const XListener& inOther );
    virtual ~XListener();

    /// Handles a message, which is valid during the call only. An exception reaches the sender or, for queued
    /// messages, the session log. Does nothing by default.
    virtual void HandleMessage( const XMessage& inMessage );

    /// Adds one subscription. A listener receives each message once, regardless of the number of its
    /// subscriptions. If it subscribes during a broadcast of the speaker, it is called last.
    void Subscribe( const XSpeaker& inSpeaker );

    /// Removes one subscription; does nothing if there is none. After the last one, no message of the speaker
    /// is delivered, even in the middle of a broadcast.
    void Unsubscribe( const XSpeaker& inSpeaker );

    bool IsAsynchronous() const { return HasFlag( kAsynchronous ); }
    void SetAsynchronous( bool inIsAsynchronous );

    /// Ignores messages of exactly this class, or accepts them again. Checked at delivery.
    void SetIsDeaf( const std::type_info& inMessageType, bool inIsDeaf );
    bool IsContainedInDeafenedMessages( const std::type_info& inMessageType ) const;

    /// Ends all subscriptions, withdraws messages posted to this listener and waits until no other thread is
    /// calling it or posting to it. Later posts are dropped. It does not wait for its own `HandleMessage`
    /// further up on this thread, and two such calls on different threads that stop the same listener do not
    /// wait for each other. If one of them destroys the listener, the base's destructor waits for the other,
    /// which does not wait for it. A call in the destructor of a derived class does not wait either: the
    /// other handler must not use the derived part any more once it has stopped the listener.
    void StopListening();

private:
    friend class XListenerList;
    friend class XMessageQueues;
    friend class XSpeaker;

    enum XFlag : std::uint32_t
    {
        kAsynchronous = 1,
        kDeaf = 2,        // to at least one class
        kPosted = 4,      // messages have been posted to this listener
        kExcluded = 8,    // a queued message may name it as already served
        kSubscribed = 16, // has had a subscription
        kStopped = 32,    // accepts no more posts
        kPostBegins = 64, // with the bits above: counts posts that the queues do not know yet
    };

    /// An entry in a speaker's list.
    struct XNode
    {
        XListener* listener; // null if it was destroyed during a broadcast
        std::int32_t count;  // number of subscriptions; 0 for a node waiting for removal
    };

    /// Calls the listeners of at least the first node, and returns the number of nodes processed: those up to
    /// the next listener of another module, or until `inAdditions` changes. Each module calls its own
    /// listeners, because on some processors a call into a distant module costs as much as the rest of a
    /// broadcast.
    using XCaller = USize ( * )(
        const XNode* inFirst, const XNode* inEnd, const XMessage& inMessage,
        const std::uint32_t& inAdditions );

    static inline USize CallListeners(
        const XNode* inFirst, const XNode* inEnd, const XMessage& inMessage,
        const std::uint32_t& inAdditions );

    XListener( bool inIsAsynchronous, XCaller inCaller );

    using XTypeNames = std::set<std::string, std::less<>>;

    bool HasFlag( XFlag inFlag ) const
    {
        return ( itsFlags.load( std::memory_order_relaxed ) & inFlag ) != 0;
    }
    void SetFlag( XFlag inFlag, bool inIsSet );

    /// Begin a post: the listener's end waits until the queues know of the post, and then looks for its call
    /// there. BeginPost is called under the mutex of the queues. Both return false if the listener does not
    /// accept posts any more.
    bool AnnouncePost()
    {
        if ( HasFlag( kStopped ) )
            return false;
        itsFlags.fetch_add( kPostBegins, std::memory_order_acq_rel );
        return true;
    }
    bool BeginPost()
    {
        itsFlags.fetch_or( kPosted, std::memory_order_acq_rel );
        return ( itsFlags.fetch_sub( kPostBegins, std::memory_order_acq_rel ) & kStopped ) == 0;
    }
    bool IsPostBeginning() const { return itsFlags.load( std::memory_order_acquire ) >= kPostBegins; }
    bool IsDeafTo( const XMessage& inMessage ) const
    {
        return HasFlag( kDeaf ) && IsContainedInDeaf( inMessage );
    }
    bool IsContainedInDeaf( const XMessage& inMessage ) const;

    /// The subscriptions to one list. When none is left, the entry stays while the broadcast that was running
    /// then may be calling this listener, because the listener's end must wait for that, too.
    struct XSubscription
    {
        XListenerList* list; // holds one reference
        std::int32_t count;
        bool isStopping = false; // the handler that the list's broadcast is in stops the listener
    };
    using XSubscriptions = XVector<XSubscription>;
    using XPlaces = std::unordered_map<const XListenerList*, USize>;

    /// Called by the list under its mutex to maintain the subscriptions. RememberSpeaker returns whether the
    /// listener already has a node there, ForgetSpeaker whether there was a subscription to end.
    bool RememberSpeaker( XListenerList& inList );
    bool ForgetSpeaker( XListenerList& inList, bool inIsLastOfBroadcast );

    /// Ends all subscriptions to a list in one step. Unless a broadcast is running, another thread may
    /// destroy the listener from then on.
    void SpeakerDeleted( XListenerList& inList, bool inIsBroadcasting );

    /// Called after the broadcast in which the last subscription to a list ended.
    void ForgetBroadcast( XListenerList& inList );

    XSubscription* FindSubscription( const XListenerList& inList );
    XSubscription& AddSubscription( XListenerList& inList );
    void Remove( XSubscription& inSubscription );
    void Stop( bool inIsDying );
    bool MarkOwnBroadcasts( bool inAreStopping );
    void UnsubscribeFromAll( bool inMayPassOver );
    XListenerList* PinSubscribed( bool inMayPassOver );
    void ForgetOwnBroadcasts();

    std::atomic<std::uint32_t> itsFlags;
    const XCaller itsCaller;
    mutable XMutex itsMutex;                  // taken after a speaker's mutex
    XSubscriptions itsSubscriptions;          // guarded by itsMutex
    std::unique_ptr<XPlaces> itsPlaces;       // of itsSubscriptions, if there are many; guarded by itsMutex
    std::unique_ptr<XTypeNames> itsDeafTypes; // names of classes; guarded by itsMutex
};

inline USize XListener::CallListeners(
    const XNode* inFirst, const XNode* inEnd, const XMessage& inMessage, const std::uint32_t& inAdditions )
{
    const std::uint32_t additions = inAdditions;
    const XNode* node = inFirst;
    do
    {
        if ( node->count <= 0 )
            continue;
        XListener& listener = *node->listener;
        if ( listener.itsCaller != CallListeners )
            break;
        if ( !listener.IsDeafTo( inMessage ) ) [[likely]]
            listener.HandleMessage( inMessage );
    } while ( ++node != inEnd && inAdditions == additions );
    return static_cast<USize>( node - inFirst );
}
