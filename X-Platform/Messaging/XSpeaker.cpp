#include "Messaging/XSpeaker.h"

#include "Core/Strings/XString.h"
#include "Messaging/Internal/XListenerList.h"
#include "Messaging/Internal/XMessageQueues.h"
#include "Messaging/XListener.h"
#include "Messaging/XMessage.h"
#include "Threads/XThread.h"

#include <algorithm>
#include <map>
#include <utility>

// A speaker may be destroyed by a handler of its own message, on this or another thread. Everything that a
// call needs afterwards is therefore in its XListenerList, which a pin (XPin) keeps alive; after pinning, no
// member of the speaker is used.
//
// Muting is rare and speaking is frequent: the muted classes of all speakers are in one map of the process,
// and two flags read without its mutex, the speaker's own and the number of entries, keep the other speakers
// from looking into it.

namespace
{

using MuteMap = std::multimap<const XSpeaker*, std::string>; // to the names of the muted classes

/// Outlasts the static speakers.
struct Muted
{
    XMutex mutex;
    MuteMap map;

    static Muted& Get()
    {
        static Muted* const muted = new Muted;
        return *muted;
    }

    MuteMap::iterator Find( const XSpeaker* inSpeaker, const std::type_info& inMessageType )
    {
        const auto [begin, end] = map.equal_range( inSpeaker );
        const auto isType = [&]( const auto& inPair ) { return inPair.second == inMessageType.name(); };
        const auto found = std::find_if( begin, end, isType );
        return found == end ? map.end() : found;
    }
};

std::atomic<USize> sMuteCount = 0; // entries of the map: with none, nobody looks

bool IsTypeMuted( const XSpeaker* inSpeaker, const std::type_info& inMessageType )
{
    if ( sMuteCount.load( std::memory_order_relaxed ) == 0 )
        return false;
    Muted& muted = Muted::Get();
    const XThreadLock lock( muted.mutex );
    return muted.Find( inSpeaker, inMessageType ) != muted.map.end();
}

} // namespace

std::atomic<std::uint32_t> XSpeaker::sMessageCount = 0;

// ---- Construction

XSpeaker::XSpeaker() : itsListeners( new XListenerList( *this ) ) {}

XSpeaker::XSpeaker( const XSpeaker& ) : XSpeaker() {}

XSpeaker& XSpeaker::operator=( const XSpeaker& )
{
    return *this;
}

XSpeaker::~XSpeaker()
{
    Stop( true );
    itsListeners->Unpin();
}

void XSpeaker::StopSpeaking()
{
    Stop( false );
}

void XSpeaker::Stop( bool inIsDying )
{
    const XListenerList::XPin pin( *itsListeners ); // after what calls in progress have read of the speaker
    {
        const XThreadLock lock( itsListeners->GetMutex() );
        itsListeners->SpeakerStopped();
        itsListeners->RemoveAll();
    }
    XMessageQueues::Get().ForgetSpeaker( *itsListeners, inIsDying );
    if ( itsHasMutedMessages )
        ForgetMutedMessages();
}

// ---- Speaking

/// The speaker may be destroyed as soon as its list is pinned.
void XSpeaker::SpeakMessage( const XMessage& inMessage, XWhen inWhen )
{
    // Read before the pin is taken: until then the caller guarantees the speaker's life, afterwards nobody
    // does.
    const bool hasMutedMessages = itsHasMutedMessages;
    const XListenerList::XPin listeners( *itsListeners );
    if ( hasMutedMessages && IsMuted( this, inMessage ) )
        return;
    const bool isImmediate = inWhen == kWhenImmediate;
    if ( isImmediate || ( inWhen == kWhenDefault && MayBroadcast( *listeners ) ) )
        listeners->Broadcast( inMessage, isImmediate, {} );
    else
        XMessageQueues::Get().Add(
            inMessage, *listeners, inWhen == kWhenDefault ? kWhenNextEvent : inWhen, {} );
}

/// Off the main thread only asynchronous listeners are called immediately.
bool XSpeaker::MayBroadcast( const XListenerList& inListeners )
{
    return XThread::IsMainThread() || inListeners.HasAsynchronousListeners();
}

void XSpeaker::SpeakMessageNow(
    const XMessage& inMessage, bool inIsForced, const XListenerVector& inExclusions )
{
    XListenerList::XPin( *itsListeners )->Broadcast( inMessage, inIsForced, inExclusions );
}

void XSpeaker::SpeakMessageNowSelf(
    const XMessage& inMessage, bool inIsForced, const XListenerVector& inExclusions )
{
    XListenerList& listeners = *itsListeners; // the speaker may be destroyed by a handler
    if ( inIsForced || XThread::IsMainThread() )
        return inExclusions.empty() ? listeners.CallAll( inMessage )
                                    : listeners.CallAllBut( inExclusions, inMessage );
    XListenerVector served;
    if ( listeners.CallAsynchronous( inMessage, inExclusions, served ) )
        // The listeners that must be called on the main thread follow there; those served here are excluded
        // from it.
        XMessageQueues::Get().Add( inMessage, listeners, kWhenNextEvent, served );
}

void XSpeaker::PostXMessage( const XMessage& inMessage, XListener& inListener, XWhen inWhen )
{
    XMessageQueues::Get().Post( inMessage, inListener, inWhen );
}

// ---- Muting

void XSpeaker::SetIsMute( const std::type_info& inMessageType, bool inIsMute )
{
    Muted& muted = Muted::Get();
    const XThreadLock lock( muted.mutex );
    const auto found = muted.Find( this, inMessageType );
    if ( inIsMute && found == muted.map.end() )
        muted.map.emplace( this, inMessageType.name() );
    else if ( !inIsMute && found != muted.map.end() )
        muted.map.erase( found );
    itsHasMutedMessages = muted.map.contains( this );
    sMuteCount = muted.map.size();
}

bool XSpeaker::IsContainedInMutedMessages( const std::type_info& inMessageType ) const
{
    return IsTypeMuted( this, inMessageType );
}

bool XSpeaker::IsMuted( const XSpeaker* inSpeaker, const XMessage& inMessage )
{
    return IsTypeMuted( inSpeaker, typeid( inMessage ) );
}

void XSpeaker::ForgetMutedMessages()
{
    Muted& muted = Muted::Get();
    const XThreadLock lock( muted.mutex );
    muted.map.erase( this );
    sMuteCount = muted.map.size();
}

// ---- Listeners

void XSpeaker::SafeSubscribeListener( XListener& inListener ) const
{
    XListenerList::XPin( *itsListeners )->Subscribe( inListener );
}

void XSpeaker::SafeUnsubscribeListener( XListener& inListener ) const
{
    XListenerList::XPin( *itsListeners )->Unsubscribe( inListener );
}

void XSpeaker::HardUnsubscribeListener( XListener& inListener ) const
{
    XListenerList::XPin( *itsListeners )->HardUnsubscribe( inListener );
}

void XSpeaker::RemoveAllListeners()
{
    XListenerList::XPin( *itsListeners )->RemoveAll();
}

USize XSpeaker::GetListenerCount() const
{
    return XListenerList::XPin( *itsListeners )->GetListenerCount();
}

bool XSpeaker::HasListeners() const
{
    return itsListeners->HasListeners();
}

XMutex& XSpeaker::GetSpeakerMutex() const
{
    return itsListeners->GetMutex();
}

// ---- The queues

void XSpeaker::ProcessAllNextEventMessages()
{
    XAssert( XThread::IsMainThread() );
    XMessageQueues::Get().DrainNextEvent();
}

bool XSpeaker::ProcessAllIdleMessages()
{
    XAssert( XThread::IsMainThread() );
    return XMessageQueues::Get().DrainIdle();
}

bool XSpeaker::IsNextEventMessageToProcess()
{
    return XMessageQueues::Get().HasMessage( kWhenNextEvent );
}

bool XSpeaker::IsIdleMessageToProcess()
{
    return XMessageQueues::Get().HasMessage( kWhenIdle );
}

WEvent& XSpeaker::GetMsgInNextEventQueueEvent()
{
    return XMessageQueues::Get().GetEvent( kWhenNextEvent );
}

WEvent& XSpeaker::GetMsgInIdleQueueEvent()
{
    return XMessageQueues::Get().GetEvent( kWhenIdle );
}

void XSpeaker::SuspendIdleProcessing()
{
    XMessageQueues::Get().Suspend();
}

void XSpeaker::ResumeIdleProcessing()
{
    XMessageQueues::Get().Resume();
}

USize XSpeaker::GetDeferredCount()
{
    return XMessageQueues::Get().GetCount();
}

std::uint32_t XSpeaker::GetMessageCount()
{
    return sMessageCount.load( std::memory_order_relaxed );
}

USize XSpeaker::RemoveFromDelayedQueue(
    XWhen inQueue, const std::function<bool( const XDeferredMessageRecord& )>& inPredicate )
{
    return XMessageQueues::Get().RemoveIf( inQueue, inPredicate );
}

XString XSpeaker::GetDebugStatus()
{
    XString status( "Message count: " );
    status += GetMessageCount();
    status += "\rDeferred: ";
    status += GetDeferredCount();
    status += "\r";
    return status;
}

// ---- Predicates

XSpeaker::XRemoveMsgsByType::XRemoveMsgsByType( std::initializer_list<const std::type_info*> inTypes )
    : itsTypes( inTypes )
{
}

XSpeaker::XRemoveMsgsByType::XRemoveMsgsByType( XVector<const std::type_info*> inTypes )
    : itsTypes( std::move( inTypes ) )
{
}

bool XSpeaker::XRemoveMsgsByType::operator()( const XDeferredMessageRecord& inRecord ) const
{
    const std::type_info& type = typeid( *inRecord.message );
    const auto isType = [&]( const std::type_info* inType ) { return *inType == type; };
    return std::any_of( itsTypes.begin(), itsTypes.end(), isType );
}

bool XSpeaker::XRemoveMsgsSentBySpeaker::operator()( const XDeferredMessageRecord& inRecord ) const
{
    return inRecord.message->GetSpeaker() == itsSpeaker;
}
