#include "Messaging/XListener.h"

#include "Messaging/XListenerList.h"
#include "Messaging/XMessage.h"
#include "Messaging/XMessageQueues.h"
#include "Threads/XThreadLock.h"

#include <algorithm>
#include <utility>

XListener::XListener( bool inIsAsynchronous, XCaller inCaller )
    : itsFlags( inIsAsynchronous ? kAsynchronous : 0 ), itsCaller( inCaller )
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
    StopListening();
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
        itsFlags.fetch_and( static_cast<std::uint8_t>( ~inFlag ), std::memory_order_relaxed );
}

void XListener::SetAsynchronous( bool inIsAsynchronous )
{
    const XThreadLock lock( itsMutex );
    if ( IsAsynchronous() == inIsAsynchronous )
        return;
    SetFlag( kAsynchronous, inIsAsynchronous );
    for ( const auto& [list, hasEnded] : itsSubscriptions )
        if ( !hasEnded )
            list->CountAsynchronous( inIsAsynchronous ? 1 : -1 );
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
    const auto ended = FindSubscription( inList, true );
    const bool isEnded = ended != itsSubscriptions.end();
    const bool isKnown = isEnded || FindSubscription( inList, false ) != itsSubscriptions.end();
    if ( isEnded )
        ended->hasEnded = false;
    else
    {
        itsSubscriptions.push_back( { &inList, false } );
        inList.AddReference();
    }
    inList.CountSubscription( 1, IsAsynchronous() );
    return isKnown;
}

bool XListener::ForgetSpeaker( XListenerList& inList, bool inIsLastOfBroadcast )
{
    const XThreadLock lock( itsMutex );
    const auto found = FindSubscription( inList, false );
    if ( found == itsSubscriptions.end() )
        return false;
    inList.CountSubscription( -1, IsAsynchronous() );
    if ( inIsLastOfBroadcast )
        found->hasEnded = true;
    else
        Remove( found );
    return true;
}

void XListener::SpeakerDeleted( XListenerList& inList, bool inIsBroadcasting )
{
    const XThreadLock lock( itsMutex );
    while ( ForgetSpeaker( inList, std::exchange( inIsBroadcasting, false ) ) )
        ;
}

void XListener::ForgetBroadcast( XListenerList& inList )
{
    const XThreadLock lock( itsMutex );
    const auto found = FindSubscription( inList, true );
    if ( found != itsSubscriptions.end() )
        Remove( found );
}

/// Under the mutex.
XListener::XSubscriptions::iterator
XListener::FindSubscription( const XListenerList& inList, bool inHasEnded )
{
    const auto isIt = [&]( const XSubscription& inOther )
    { return inOther.list == &inList && inOther.hasEnded == inHasEnded; };
    return std::find_if( itsSubscriptions.begin(), itsSubscriptions.end(), isIt );
}

void XListener::Remove( XSubscriptions::iterator inSubscription )
{
    inSubscription->list->Release();
    *inSubscription = itsSubscriptions.back();
    itsSubscriptions.pop_back();
}

void XListener::StopListening()
{
    itsFlags.fetch_or( kStopped, std::memory_order_acq_rel );
    if ( HasFlag( kSubscribed ) )
        UnsubscribeFromAll();
    if ( HasFlag( kPosted ) || HasFlag( kExcluded ) )
        XMessageQueues::Get().ForgetListener( *this, HasFlag( kExcluded ) );
}

/// The lists are let go first and the nodes removed then, each under its own mutex: a list's mutex is never
/// taken under this listener's, and the references keep the lists while their speakers may die.
void XListener::UnsubscribeFromAll()
{
    XSubscriptions subscriptions;
    {
        const XThreadLock lock( itsMutex );
        subscriptions.swap( itsSubscriptions );
        for ( const auto& [list, hasEnded] : subscriptions )
            if ( !hasEnded )
                list->CountSubscription( -1, IsAsynchronous() );
    }
    for ( const auto& [list, hasEnded] : subscriptions )
    {
        list->RemoveDying( *this );
        list->Release();
    }
}
