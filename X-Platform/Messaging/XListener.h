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

/// Hears the messages of the speakers it has subscribed to, and those posted to it. An ordinary listener
/// hears on the main thread only, unless a speaker insists (`XSpeaker::kWhenImmediate`); an asynchronous one
/// hears on any thread, several at a time if it comes to that, and protects its own data.
///
/// Lifetime:  may be destroyed while other threads send to it, unsubscribe it or end its speakers, and from within
/// its own `HandleMessage`: broadcasts and posts in progress on other threads are waited for, and it never hears
/// anything afterwards. No post may begin, and `Subscribe`, `SetAsynchronous`, `SetIsDeaf` and copies of the
/// listener must have returned on other threads, once the destructor has begun. Where other threads may be calling
/// it, the most derived class's destructor begins with `StopListening()`: the base's destructor makes the call as
/// well, but runs when the derived members are gone already.
/// Threads: every operation may be called from any thread.
class KORVALE_API XListener
{
public:
    explicit XListener( bool inIsAsynchronous = false ) : XListener( inIsAsynchronous, CallListeners ) {}

    /// A copy is as asynchronous and as deaf as its original and has subscribed to nobody. Assigning changes
    /// nothing: what a listener hears is its own.
    XListener( const XListener& inOther );
    XListener& operator=( const XListener& inOther );
    virtual ~XListener();

    /// Receives a message, which lives for the length of the call. What it throws reaches the sender, or the
    /// session log when the message came out of a queue. Does nothing by default.
    virtual void HandleMessage( const XMessage& inMessage );

    /// Subscribes once more; a listener hears each message once however often it has subscribed. A listener
    /// that subscribes during a broadcast of the speaker comes last in it.
    void Subscribe( const XSpeaker& inSpeaker );

    /// Takes back one subscription; nothing happens when there is none. With the last one the speaker falls
    /// silent, in the midst of a broadcast too.
    void Unsubscribe( const XSpeaker& inSpeaker );

    bool IsAsynchronous() const { return HasFlag( kAsynchronous ); }
    void SetAsynchronous( bool inIsAsynchronous );

    /// Makes the listener deaf to messages of exactly this class, or lets it hear them again. Counts when a
    /// message would be delivered.
    void SetIsDeaf( const std::type_info& inMessageType, bool inIsDeaf );
    bool IsContainedInDeafenedMessages( const std::type_info& inMessageType ) const;

    /// Ends all subscriptions, withdraws messages posted to this listener and waits until no other thread is
    /// calling it or posting to it. What is posted afterwards is dropped. A call of its own `HandleMessage`
    /// further up on this thread is not waited for, and two such calls that stop it do not wait for each other.
    /// Where one of them destroys the listener, the base's destructor waits for the other, which does not wait for
    /// it. This call in a derived class's destructor does not wait either: there the other one, once it has stopped
    /// the listener, must not use the derived part any more.
    void StopListening();

private:
    friend class XListenerList;
    friend class XMessageQueues;
    friend class XSpeaker;

    enum XFlag : std::uint32_t
    {
        kAsynchronous = 1,
        kDeaf = 2,        // to some class
        kPosted = 4,      // messages have been posted to this listener
        kExcluded = 8,    // some queued message may name it as one that has heard it
        kSubscribed = 16, // has subscribed to somebody at some time
        kStopped = 32,    // takes no more posts
        kPostBegins = 64, // counts, with the bits above it, posts that the queues do not know yet
    };

    /// A place in a speaker's list.
    struct XNode
    {
        XListener* listener; // null when it was destroyed during a broadcast
        std::int32_t count;  // subscriptions; with 0 the node only waits for its removal
    };

    /// Calls the listeners of nodes, the first one at least, and returns how many nodes it has walked: those
    /// up to the next listener of another module, or until `inAdditions` changes. Each module calls its own
    /// listeners, as a call from one module to another that lies far from it costs some processors as much as
    /// everything else here.
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

    /// A post begins: the end of the listener waits until the queues, under whose mutex the second operation is
    /// called, know of it, and looks for its call there. Both return whether the listener still takes posts.
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

    /// The subscriptions to a list. With none left it stays while the broadcast that was on when the last one ended may
    /// be calling this listener: its end waits for that as well.
    struct XSubscription
    {
        XListenerList* list; // with one reference
        std::int32_t count;
        bool isStopping = false; // the handler that the list's broadcast is in stops the listener
    };
    using XSubscriptions = XVector<XSubscription>;
    using XPlaces = std::unordered_map<const XListenerList*, USize>;

    /// These keep the subscriptions, for the list and under its mutex. The first returns whether the listener
    /// has a node there already, the second whether there was a subscription to end.
    bool RememberSpeaker( XListenerList& inList );
    bool ForgetSpeaker( XListenerList& inList, bool inIsLastOfBroadcast );

    /// Ends all subscriptions to a list in one step. Unless a broadcast is on, the listener may be destroyed by another
    /// thread from then on.
    void SpeakerDeleted( XListenerList& inList, bool inIsBroadcasting );

    /// The broadcast in which the last subscription to a list ended is over.
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
    std::unique_ptr<XPlaces> itsPlaces;       // of these, where they are many; guarded by itsMutex
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
