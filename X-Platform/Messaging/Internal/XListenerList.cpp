#include "Messaging/Internal/XListenerList.h"

#include "Messaging/Internal/XPlaces.h"
#include "Messaging/XListener.h"
#include "Messaging/XMessage.h"
#include "Threads/XThreadLock.h"

#include <algorithm>
#include <utility>

// Nodes and broadcasts. A broadcast walks itsNodes by index under the mutex, which is recursive: handlers may
// subscribe (nodes are appended, so the walk reaches them), unsubscribe (the node stays with count 0 and is
// skipped), and broadcast again. Only the end of the outermost broadcast erases nodes, so indexes stay valid
// throughout. A vector is used for the speed of the walk; a long one has a hash table from listener to index
// beside it (itsPlaces).
//
// Both sides know of each other: a node has the number of subscriptions of a listener, the listener has the
// same number in its own table. They change together under this mutex and, within it, the listener's.
//
// Lifetime. itsPins keeps the list for the speaker and for running calls, itsReferences for subscriptions
// and, with one reference for all of them, the pins. A speaker that dies leaves a list that its listeners
// still unsubscribe from.

namespace
{

/// The listeners excluded from a broadcast, in any order.
class XExclusions
{
public:
    explicit XExclusions( const XSpeaker::XListenerVector& inListeners ) : itsListeners( inListeners )
    {
        if ( inListeners.size() <= kMostSearched )
            return;
        itsSorted = inListeners;
        std::ranges::sort( itsSorted );
    }

    bool Contains( const XListener* inListener ) const
    {
        return itsSorted.empty() ? std::ranges::find( itsListeners, inListener ) != itsListeners.end()
                                 : std::ranges::binary_search( itsSorted, inListener );
    }

private:
    const XSpeaker::XListenerVector& itsListeners;
    XSpeaker::XListenerVector itsSorted;
};

} // namespace

/// A broadcast in progress: holds the mutex.
class XListenerList::XBroadcast
{
public:
    explicit XBroadcast( XListenerList& inList ) : itsList( inList )
    {
        itsList.itsMutex.Lock();
        ++itsList.itsBroadcastDepth;
    }
    XBroadcast( const XBroadcast& ) = delete;
    XBroadcast& operator=( const XBroadcast& ) = delete;
    ~XBroadcast()
    {
        if ( --itsList.itsBroadcastDepth == 0 && itsList.itsNeedsCleanup )
            itsList.CleanupAfterMessage();
        itsList.itsMutex.Unlock();
    }

private:
    XListenerList& itsList;
};

void XListenerList::Release()
{
    if ( itsReferences.fetch_sub( 1, std::memory_order_acq_rel ) == 1 )
        delete this;
}

void XListenerList::Unpin()
{
    if ( itsPins.fetch_sub( 1, std::memory_order_acq_rel ) == 1 )
        Release();
}

void XListenerList::CountSubscription( std::int32_t inStep, bool inIsAsynchronous )
{
    itsSubscriptions.fetch_add( inStep, std::memory_order_relaxed );
    if ( inIsAsynchronous )
        CountAsynchronous( inStep );
}

void XListenerList::Subscribe( XListener& inListener )
{
    const XThreadLock lock( itsMutex );
    if ( !GetSpeaker() )
        return;
    // The listener's side first: it knows from its own table whether a node must be searched for.
    const bool isThere = inListener.RememberSpeaker( *this );
    try
    {
        ++FindOrAddNode( inListener, isThere ).count;
    }
    catch ( ... )
    {
        // No memory for the node: the listener must not remember a subscription that does not exist.
        inListener.ForgetSpeaker( *this, false );
        throw;
    }
}

void XListenerList::Unsubscribe( XListener& inListener )
{
    const XThreadLock lock( itsMutex );
    XNode* const node = FindNode( inListener );
    if ( !node || !inListener.ForgetSpeaker( *this, node->count == 1 && itsBroadcastDepth > 0 ) )
        return;
    if ( --node->count == 0 )
        RemoveNode( *node );
}

void XListenerList::HardUnsubscribe( XListener& inListener )
{
    const XThreadLock lock( itsMutex );
    if ( XNode* const node = FindNode( inListener ) )
    {
        inListener.SpeakerDeleted( *this, itsBroadcastDepth > 0 );
        RemoveNode( *node );
    }
}

bool XListenerList::TryHardUnsubscribe( XListener& inListener, std::uint32_t inTimeoutMS )
{
    if ( !itsMutex.TryLock( inTimeoutMS ) )
        return false;
    HardUnsubscribe( inListener );
    itsMutex.Unlock();
    return true;
}

void XListenerList::RemoveAll()
{
    const XThreadLock lock( itsMutex );
    for ( XNode& node : itsNodes )
    {
        if ( node.listener )
            node.listener->SpeakerDeleted( *this, itsBroadcastDepth > 0 );
        node.count = 0;
    }
    // Nodes of a running broadcast stay where they are, with count 0.
    itsNeedsCleanup = itsBroadcastDepth > 0;
    if ( !itsNeedsCleanup )
        RemoveEmptyNodes();
}

USize XListenerList::GetListenerCount()
{
    const XThreadLock lock( itsMutex );
    const auto isSubscribed = []( const XNode& inNode ) { return inNode.count > 0; };
    return static_cast<USize>( std::count_if( itsNodes.begin(), itsNodes.end(), isSubscribed ) );
}

/// Few are searched from the back: what came last is often the first to go.
XListenerList::XNode* XListenerList::FindNode( const XListener& inListener )
{
    return XFindEntry( itsNodes, &XNode::listener, itsPlaces, inListener );
}

XListenerList::XNode& XListenerList::FindOrAddNode( XListener& inListener, bool inMayBeThere )
{
    if ( inMayBeThere )
        if ( XNode* const node = FindNode( inListener ) )
            return *node;
    ++itsAdditions;
    XNode& added = itsNodes.emplace_back( XNode{ &inListener, 0 } );
    XRememberPlaces( itsNodes, &XNode::listener, itsPlaces );
    return added;
}

void XListenerList::ForgetPlace( const XListener* inListener )
{
    if ( itsPlaces )
        itsPlaces->erase( inListener );
}

void XListenerList::RemoveDying( XListener& inListener )
{
    const XThreadLock lock( itsMutex );
    if ( XNode* const node = FindNode( inListener ) )
    {
        ForgetPlace( &inListener );
        // The object goes away: unlike after an unsubscription, the node must not refer to it until the
        // clean-up.
        node->listener = nullptr;
        RemoveNode( *node );
    }
}

void XListenerList::RemoveNode( XNode& inNode )
{
    inNode.count = 0;
    if ( itsBroadcastDepth > 0 )
    {
        itsNeedsCleanup = true;
        return;
    }
    if ( const XListener* const listener = std::exchange( inNode.listener, nullptr ) )
        ForgetPlace( listener );
    ++itsEmptyNodes;
    // Half of the nodes at a time: removing n listeners one by one then takes O(n) altogether.
    if ( itsNodes.size() <= kMostSearched || itsEmptyNodes * 2 >= itsNodes.size() )
        RemoveEmptyNodes();
}

/// No broadcast is on.
void XListenerList::RemoveEmptyNodes()
{
    std::erase_if( itsNodes, []( const XNode& inNode ) { return inNode.count == 0; } );
    itsEmptyNodes = 0;
    if ( itsNodes.size() <= kMostSearched )
        itsPlaces.reset();
    if ( itsPlaces )
        for ( USize place = 0; place < itsNodes.size(); ++place )
            // Every remaining node has an entry, so nothing is inserted and nothing can fail.
            itsPlaces->find( itsNodes[place].listener )->second = place;
}

void XListenerList::CleanupAfterMessage()
{
    itsNeedsCleanup = false;
    for ( const XNode& node : itsNodes )
        if ( node.count == 0 && node.listener )
        {
            ForgetPlace( node.listener );
            node.listener->ForgetBroadcast( *this );
        }
    RemoveEmptyNodes();
}

void XListenerList::Broadcast(
    const XMessage& inMessage, bool inIsForced, const XSpeaker::XListenerVector& inExclusions )
{
    const XBroadcast broadcast( *this );
    if ( XSpeaker* const speaker = GetSpeaker() )
    {
        XSpeaker::sMessageCount.fetch_add( 1, std::memory_order_relaxed );
        speaker->SpeakMessageNowSelf( inMessage, inIsForced, inExclusions );
    }
}

// Handlers may add nodes while these walk: no pointer to a node is kept across that.

/// Each run of listeners of one module is called from there.
void XListenerList::CallAll( const XMessage& inMessage )
{
    for ( USize walked = 0; walked < itsNodes.size(); )
    {
        const XNode* const node = itsNodes.data() + walked;
        const XNode* const end = itsNodes.data() + itsNodes.size();
        walked += node->count > 0 ? node->listener->itsCaller( node, end, inMessage, itsAdditions ) : 1;
    }
}

void XListenerList::CallAllBut( const XSpeaker::XListenerVector& inExclusions, const XMessage& inMessage )
{
    const XExclusions exclusions( inExclusions );
    for ( USize i = 0; i != itsNodes.size(); ++i )
    {
        XListener* const listener = itsNodes[i].listener;
        if ( itsNodes[i].count > 0 && !listener->IsDeafTo( inMessage ) && !exclusions.Contains( listener ) )
            listener->HandleMessage( inMessage );
    }
}

bool XListenerList::CallAsynchronous(
    const XMessage& inMessage, const XSpeaker::XListenerVector& inExclusions,
    XSpeaker::XListenerVector& outServed )
{
    const XExclusions exclusions( inExclusions );
    bool isAnyPending = false;
    XVector<USize> served; // by index, so that a listener that dies here is not mistaken for a later one
    for ( USize i = 0; i < itsNodes.size(); ++i )
    {
        // By value: a handler may make the vector grow.
        const XNode node = itsNodes[i];
        // A dying listener leaves a null pointer, always with count 0.
        if ( node.count <= 0 || node.listener->IsDeafTo( inMessage ) || exclusions.Contains( node.listener ) )
            continue;
        if ( !node.listener->IsAsynchronous() )
        {
            isAnyPending = true;
            continue;
        }
        served.push_back( i );
        node.listener->SetFlag( XListener::kExcluded, true );
        node.listener->HandleMessage( inMessage );
    }
    for ( const USize i : served )
        if ( i < itsNodes.size() && itsNodes[i].listener )
            outServed.push_back( itsNodes[i].listener );
    return isAnyPending;
}
