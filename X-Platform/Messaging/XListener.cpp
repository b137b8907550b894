#include "Messaging/XListener.h"

#include "Messaging/Internal/XListenerList.h"
#include "Messaging/Internal/XMessageQueues.h"
#include "Messaging/Internal/XPlaces.h"
#include "Messaging/XMessage.h"
#include "Threads/XThreadLock.h"

#include <algorithm>
#include <utility>

// Stopping. A listener may be stopped on any thread, including within its own handlers. The stop returns when
// no other thread calls it any more, which takes three steps: kStopped keeps new posts out, the subscriptions
// are ended under the mutex of each list, which waits for broadcasts there, and posted calls are waited for
// (XMessageQueues::ForgetListener).
//
// itsSubscriptions is guarded by itsMutex, which comes after the mutexes of lists. The stop needs them in the
// opposite order, so it picks a list under itsMutex, keeps it by a reference, and locks it without itsMutex.

namespace
{

constexpr std::uint32_t kPassOverPeriodMS = 10;

} // namespace

XListener::XListener( bool inIsAsynchronous, XCaller inCaller )
    : itsFlags( inIsAsynchronous ? std::uint32_t{ kAsynchronous } : 0 ), itsCaller( inCaller )
{
}

XListener::XListener( const XListener& inOther ) : XListener( inOther.IsAsynchronous(), inOther.itsCaller )
{
    const XThreadLock lock( inOther.itsMutex );
    if ( !inOther.itsDeafTypes )
        return;
    itsDeafTypes = std::make_unique<XTypeNames>( *inOther.itsDeafTypes );
    SetFlag( kDeaf, !itsDeafTypes->empty() );
}

XListener& XListener::operator=( const XListener& )
{
    return *this;
}

XListener::~XListener()
{
    Stop( true );
}

void XListener::HandleMessage( const XMessage& ) {}

void XListener::Subscribe( const XSpeaker& inSpeaker )
{
    inSpeaker.SafeSubscribeListener( *this );
}

void XListener::Unsubscribe( const XSpeaker& inSpeaker )
{
    inSpeaker.SafeUnsubscribeListener( *this );
}

void XListener::SetFlag( XFlag inFlag, bool inIsSet )
{
    if ( HasFlag( inFlag ) == inIsSet )
        return;
    if ( inIsSet )
        itsFlags.fetch_or( inFlag, std::memory_order_relaxed );
    else
        itsFlags.fetch_and( ~static_cast<std::uint32_t>( inFlag ), std::memory_order_relaxed );
}

void XListener::SetAsynchronous( bool inIsAsynchronous )
{
    const XThreadLock lock( itsMutex );
    if ( IsAsynchronous() == inIsAsynchronous )
        return;
    SetFlag( kAsynchronous, inIsAsynchronous );
    for ( const XSubscription& subscription : itsSubscriptions )
        // Lists count their asynchronous subscriptions, so that a speaker off the main thread sees at once
        // whether there is anybody to call.
        subscription.list->CountAsynchronous( inIsAsynchronous ? subscription.count : -subscription.count );
}

void XListener::SetIsDeaf( const std::type_info& inMessageType, bool inIsDeaf )
{
    const XThreadLock lock( itsMutex );
    if ( !itsDeafTypes )
        itsDeafTypes = std::make_unique<XTypeNames>();
    if ( inIsDeaf )
        itsDeafTypes->insert( inMessageType.name() );
    else
        itsDeafTypes->erase( inMessageType.name() );
    SetFlag( kDeaf, !itsDeafTypes->empty() );
}

bool XListener::IsContainedInDeafenedMessages( const std::type_info& inMessageType ) const
{
    const XThreadLock lock( itsMutex );
    return itsDeafTypes && itsDeafTypes->contains( inMessageType.name() );
}

bool XListener::IsContainedInDeaf( const XMessage& inMessage ) const
{
    return IsContainedInDeafenedMessages( typeid( inMessage ) );
}

bool XListener::RememberSpeaker( XListenerList& inList )
{
    const XThreadLock lock( itsMutex );
    SetFlag( kSubscribed, true );
    XSubscription* const known = FindSubscription( inList );
    ++( known ? *known : AddSubscription( inList ) ).count;
    inList.CountSubscription( 1, IsAsynchronous() );
    return known != nullptr;
}

bool XListener::ForgetSpeaker( XListenerList& inList, bool inIsLastOfBroadcast )
{
    const XThreadLock lock( itsMutex );
    XSubscription* const found = FindSubscription( inList );
    if ( !found || found->count == 0 )
        return false;
    inList.CountSubscription( -1, IsAsynchronous() );
    if ( --found->count == 0 && !inIsLastOfBroadcast )
        Remove( *found );
    return true;
}

void XListener::SpeakerDeleted( XListenerList& inList, bool inIsBroadcasting )
{
    const XThreadLock lock( itsMutex );
    XSubscription* const found = FindSubscription( inList );
    if ( !found || found->count == 0 )
        return;
    inList.CountSubscription( -std::exchange( found->count, 0 ), IsAsynchronous() );
    if ( !inIsBroadcasting )
        Remove( *found );
}

void XListener::ForgetBroadcast( XListenerList& inList )
{
    const XThreadLock lock( itsMutex );
    XSubscription* const found = FindSubscription( inList );
    if ( found && found->count == 0 )
        Remove( *found );
}

// ---- Under the mutex

XListener::XSubscription* XListener::FindSubscription( const XListenerList& inList )
{
    return XFindEntry( itsSubscriptions, &XSubscription::list, itsPlaces, inList );
}

XListener::XSubscription& XListener::AddSubscription( XListenerList& inList )
{
    XSubscription& added = itsSubscriptions.emplace_back( XSubscription{ &inList, 0 } );
    inList.AddReference();
    XRememberPlaces( itsSubscriptions, &XSubscription::list, itsPlaces );
    return added;
}

/// The last one takes its place.
void XListener::Remove( XSubscription& inSubscription )
{
    XListenerList* const list = inSubscription.list;
    inSubscription = itsSubscriptions.back();
    if ( itsPlaces )
    {
        itsPlaces->find( inSubscription.list )->second =
            static_cast<USize>( &inSubscription - itsSubscriptions.data() );
        itsPlaces->erase( list );
    }
    itsSubscriptions.pop_back();
    if ( itsSubscriptions.size() <= kMostSearched / 2 )
        itsPlaces.reset();
    list->Release();
}

// ---- Stopping

void XListener::StopListening()
{
    Stop( false );
}

/// A handler of the listener further up on this thread is marked before anything is waited for, so that one on
/// another thread which stops the listener too does not wait for it. An end waits for all on other threads.
void XListener::Stop( bool inIsDying )
{
    itsFlags.fetch_or( kStopped, std::memory_order_acq_rel );
    XMessageQueues& queues = XMessageQueues::Get();
    const bool isBroadcast = HasFlag( kSubscribed ) && MarkOwnBroadcasts( true );
    const bool isPosted = HasFlag( kPosted ) && queues.MarkOwnCallsOf( *this );
    const bool mayPassOver = ( isBroadcast || isPosted ) && !inIsDying;
    if ( HasFlag( kSubscribed ) )
        UnsubscribeFromAll( mayPassOver );
    if ( inIsDying )
        ForgetOwnBroadcasts();
    if ( HasFlag( kPosted ) || HasFlag( kExcluded ) || IsPostBeginning() )
        queues.ForgetListener( *this, HasFlag( kExcluded ), mayPassOver, inIsDying );
    if ( isBroadcast )
        MarkOwnBroadcasts( false );
}

/// Returns whether there are any on this thread.
bool XListener::MarkOwnBroadcasts( bool inAreStopping )
{
    const XThreadLock lock( itsMutex );
    bool isAny = false;
    for ( XSubscription& subscription : itsSubscriptions )
        if ( subscription.list->GetMutex().IsLockedByCurrentThread() )
        {
            subscription.isStopping = inAreStopping;
            isAny = true;
        }
    return isAny;
}

/// Takes each list's mutex without this listener's, which comes after it; this waits for broadcasts on other
/// threads. Two kinds of entries remain: ended subscriptions to lists that broadcast on this thread, which
/// show a thread that destroys the listener that it is being called; and those that are passed over. The
/// latter are known only when the handler there stops the listener, possibly during this wait, so they are
/// checked from time to time.
void XListener::UnsubscribeFromAll( bool inMayPassOver )
{
    const std::uint32_t timeoutMS = inMayPassOver ? kPassOverPeriodMS : kNoTimeout;
    while ( XListenerList* const list = PinSubscribed( inMayPassOver ) )
    {
        list->TryHardUnsubscribe( *this, timeoutMS );
        list->Release();
    }
}

/// The list of a subscription to be ended, with an additional reference; null if there is none.
XListenerList* XListener::PinSubscribed( bool inMayPassOver )
{
    const XThreadLock lock( itsMutex );
    const auto hasToEnd = [&]( const XSubscription& inSubscription )
    {
        if ( inSubscription.list->GetMutex().IsLockedByCurrentThread() )
            return inSubscription.count > 0;
        return !( inMayPassOver && inSubscription.isStopping );
    };
    const auto found = std::find_if( itsSubscriptions.begin(), itsSubscriptions.end(), hasToEnd );
    if ( found == itsSubscriptions.end() )
        return nullptr;
    found->list->AddReference();
    return found->list;
}

/// The broadcasts on this thread go on without the listener.
void XListener::ForgetOwnBroadcasts()
{
    itsPlaces.reset();
    for ( const XSubscription& subscription : std::exchange( itsSubscriptions, {} ) )
    {
        subscription.list->RemoveDying( *this );
        subscription.list->Release();
    }
}
