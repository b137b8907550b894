#include "Messaging/XMessageQueues.h"

#include "Core/XErrorLog.h"
#include "Core/XTimer.h"
#include "Messaging/XListener.h"
#include "Messaging/XListenerList.h"
#include "Threads/XThreadLock.h"
#include "WMainLoop.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace
{

constexpr std::uint32_t kIdleBudgetMs = 100;

using XEntry = XDeferredQueue::XEntry;
using XItem = XDeferredQueue::XItem;

void Unite( XSpeaker::XListenerVector& ioListeners, const XSpeaker::XListenerVector& inListeners )
{
    for ( const XListener* const listener : inListeners )
        if ( std::find( ioListeners.begin(), ioListeners.end(), listener ) == ioListeners.end() )
            ioListeners.push_back( listener );
}

/// Keeps a speaker's list, and under its mutex the speaker, while a message of it is delivered.
class ListReference
{
public:
    explicit ListReference( XListenerList& inList ) : itsList( inList ) { itsList.AddReference(); }
    ListReference( const ListReference& ) = delete;
    ListReference& operator=( const ListReference& ) = delete;
    ~ListReference() { itsList.Release(); }

    XListenerList& Get() const { return itsList; }

private:
    XListenerList& itsList;
};

} // namespace

/// Registers a call of a listener for its duration. Begins under the mutex, ends without it.
class XMessageQueues::XCallScope
{
public:
    explicit XCallScope( XMessageQueues& inQueues ) : itsQueues( inQueues ) {}
    XCallScope( const XCallScope& ) = delete;
    XCallScope& operator=( const XCallScope& ) = delete;
    ~XCallScope()
    {
        if ( itsCall.threadID != 0 )
            End();
    }

    void Begin( const XListener& inListener )
    {
        itsCall = { &inListener, WThreadID::GetCurrent(), itsQueues.itsCalls };
        itsQueues.itsCalls = &itsCall;
    }

private:
    void End()
    {
        const XThreadLock lock( itsQueues.itsDeferredMutex );
        XCall** link = &itsQueues.itsCalls;
        while ( *link != &itsCall )
            link = &( *link )->next;
        *link = itsCall.next;
        itsQueues.itsCallEnded.Broadcast();
    }

    XMessageQueues& itsQueues;
    XCall itsCall{ nullptr, 0, nullptr };
};

/// Withdraws entries under the mutex; their messages, which may do anything then, are destroyed without it.
class XMessageQueues::XWithdrawn
{
public:
    explicit XWithdrawn( XMessageQueues& inQueues ) : itsQueues( inQueues ) {}
    XWithdrawn( const XWithdrawn& ) = delete;
    XWithdrawn& operator=( const XWithdrawn& ) = delete;
    ~XWithdrawn()
    {
        if ( !itsFirst )
            return;
        for ( XEntry* entry = itsFirst; entry; entry = entry->next )
            static_cast<XItem&>( *entry ) = {};
        const XThreadLock lock( itsQueues.itsDeferredMutex );
        while ( itsFirst )
            Free( *std::exchange( itsFirst, itsFirst->next ) );
    }

    void Add( XEntry& inEntry )
    {
        inEntry.queue->Unlink( inEntry );
        inEntry.next = itsFirst;
        itsFirst = &inEntry;
        ++itsCount;
    }
    USize GetCount() const { return itsCount; }

private:
    static void Free( XEntry& inEntry ) { inEntry.queue->Free( inEntry ); }

    XMessageQueues& itsQueues;
    XEntry* itsFirst = nullptr;
    USize itsCount = 0;
};

XMessageQueues& XMessageQueues::Get()
{
    static XMessageQueues* const queues = new XMessageQueues;
    return *queues;
}

// ---- Adding

// Copies are made before the mutex is taken and what is left over is destroyed after it has been released:
// threads hold it only to compare and to link.

void XMessageQueues::Add(
    const XMessage& inMessage, XListenerList& inSpeakersList, XWhen inWhen,
    const XListenerVector& inExclusions )
{
    if ( !inSpeakersList.GetSpeaker() )
        return;
    XItem item = XDeferredQueue::MakeItem( inMessage, &inSpeakersList, nullptr, inExclusions );
    const XThreadLock lock( itsDeferredMutex );
    if ( inSpeakersList.GetSpeaker() )
        AddLocked( SelectQueue( inWhen ), item );
}

void XMessageQueues::Add( const XMessage& inMessage, XListener& inListener, XWhen inWhen )
{
    const XSpeaker* const speaker = inMessage.GetSpeaker();
    XListenerList* const speakersList = speaker ? speaker->itsListeners : nullptr;
    XItem item = XDeferredQueue::MakeItem( inMessage, speakersList, &inListener, {} );
    const XThreadLock lock( itsDeferredMutex );
    AddLocked( SelectQueue( inWhen ), item );
}

/// What is left over stays in the item: the message itself when a queued one absorbs it, or one that it
/// replaces.
void XMessageQueues::AddLocked( XQueue& ioQueue, XItem& ioItem )
{
    XDeferredQueue& messages = ioQueue.messages;
    auto coalesce = XMessage::kCoalesceNone;
    XEntry* like = messages.FindFirstLike( ioItem );
    for ( ; like; like = XDeferredQueue::FindNextLike( *like ) )
    {
        coalesce = like->record.message->ShouldCoalesceQueueMessage( *ioItem.record.message );
        if ( coalesce != XMessage::kCoalesceNone )
            break;
    }
    if ( coalesce == XMessage::kCoalesceMerge )
        return Unite( like->record.exclusions, ioItem.record.exclusions );

    if ( like )
    {
        Unite( ioItem.record.exclusions, like->record.exclusions );
        messages.Replace( *like, ioItem );
    }
    else
        messages.PushBack( ioItem );
    Signal( ioQueue );
}

/// The main loop is woken once for all that comes before its next drain.
void XMessageQueues::Signal( XQueue& ioQueue )
{
    if ( ioQueue.event.IsSet() )
        return;
    ioQueue.event.Set();
    WMainLoop::Wake();
}

// ---- Delivering

void XMessageQueues::CallNow( const XMessage& inMessage, XListener& inListener )
{
    XCallScope call( *this );
    {
        const XThreadLock lock( itsDeferredMutex );
        call.Begin( inListener );
    }
    if ( !inListener.IsDeafTo( inMessage ) )
        inListener.HandleMessage( inMessage );
}

/// Delivers the first message. Whoever it concerns is pinned under the mutex, before it may be destroyed: a
/// listener by the call, a speaker by its list.
void XMessageQueues::Deliver( XQueue& ioQueue )
{
    XItem item;
    XCallScope call( *this );
    std::optional<ListReference> list;
    {
        const XThreadLock lock( itsDeferredMutex );
        XEntry* const first = ioQueue.messages.GetFirst();
        if ( !first )
            return;
        item = ioQueue.messages.Take( *first );
        if ( item.record.target )
            call.Begin( *item.record.target );
        else
            list.emplace( *item.speakersList );
    }
    const XMessage* const theMessage = item.record.message.get();
    if ( !list )
    {
        if ( !item.record.target->IsDeafTo( *theMessage ) )
            item.record.target->HandleMessage( *theMessage );
        return;
    }
    XAssert( theMessage->GetSpeaker() );
    const XThreadLock lock( list->Get().GetMutex() );
    if ( XSpeaker* const speaker = list->Get().GetSpeaker() )
        speaker->SpeakMessageNow( *theMessage, false, item.record.exclusions );
}

void XMessageQueues::DeliverAndLog( XQueue& ioQueue )
{
    try
    {
        Deliver( ioQueue );
    }
    catch ( ... )
    {
        XErrorLog::AddCurrentException();
    }
}

bool XMessageQueues::BeginDrain( const XQueue& inQueue, USize& outCount )
{
    const XThreadLock lock( itsDeferredMutex );
    if ( itsSuspendIdleProcessing > 0 )
        return false;
    ++itsSuspendIdleProcessing;
    outCount = inQueue.messages.GetCount();
    return true;
}

void XMessageQueues::DrainNextEvent()
{
    WMainLoop::ClearWake();
    USize count = 0;
    if ( !BeginDrain( itsNextEventMessages, count ) )
        return;
    for ( ; count > 0; --count )
        DeliverAndLog( itsNextEventMessages );

    const XThreadLock lock( itsDeferredMutex );
    --itsSuspendIdleProcessing;
    itsNextEventMessages.event.Clear();
    if ( itsNextEventMessages.messages.GetCount() > 0 )
        WMainLoop::Wake();
}

bool XMessageQueues::DrainIdle()
{
    const XTimer timer( kIdleBudgetMs );
    USize count = 0;
    if ( !BeginDrain( itsIdleMessages, count ) )
        return false;
    const bool isAnyThere = count > 0;
    for ( ; count > 0 && !timer.HasExpired(); --count )
        DeliverAndLog( itsIdleMessages );

    const XThreadLock lock( itsDeferredMutex );
    --itsSuspendIdleProcessing;
    if ( itsIdleMessages.messages.GetCount() == 0 )
        itsIdleMessages.event.Clear();
    // A handler may have tried to drain the next events, which silenced the bell: they count here too.
    if ( itsIdleMessages.messages.GetCount() > 0 || itsNextEventMessages.messages.GetCount() > 0 )
        WMainLoop::Wake();
    return isAnyThere;
}

void XMessageQueues::Suspend()
{
    const XThreadLock lock( itsDeferredMutex );
    ++itsSuspendIdleProcessing;
}

void XMessageQueues::Resume()
{
    const XThreadLock lock( itsDeferredMutex );
    --itsSuspendIdleProcessing;
    if ( itsSuspendIdleProcessing <= 0 &&
         itsNextEventMessages.messages.GetCount() + itsIdleMessages.messages.GetCount() > 0 )
        WMainLoop::Wake();
}

// ---- Withdrawing

USize XMessageQueues::RemoveIf( XWhen inQueue, const XPredicate& inPredicate )
{
    XWithdrawn withdrawn( *this );
    const XThreadLock lock( itsDeferredMutex );
    XDeferredQueue& messages = SelectQueue( inQueue ).messages;
    for ( XEntry* entry = messages.GetFirst(); entry; )
    {
        XEntry* const next = entry->next;
        if ( inPredicate( entry->record ) )
            withdrawn.Add( *entry );
        entry = next;
    }
    return withdrawn.GetCount();
}

void XMessageQueues::ForgetSpeaker( const XListenerList& inSpeakersList )
{
    XWithdrawn withdrawn( *this );
    const XThreadLock lock( itsDeferredMutex );
    while ( XEntry* const entry = inSpeakersList.itsFirstQueued )
        withdrawn.Add( *entry );
}

void XMessageQueues::ForgetListener( const XListener& inListener, bool inMayBeExcluded )
{
    XWithdrawn withdrawn( *this );
    const XThreadLock lock( itsDeferredMutex );
    for ( XQueue* const queue : { &itsNextEventMessages, &itsIdleMessages } )
    {
        while ( XEntry* const entry = queue->messages.FindFirstFor( inListener ) )
            withdrawn.Add( *entry );
        if ( inMayBeExcluded )
            ForgetExclusions( queue->messages, inListener );
    }
    while ( ForgetCalls( inListener ) )
        itsCallEnded.Wait( itsDeferredMutex );
}

/// A listener made later may get the same address.
void XMessageQueues::ForgetExclusions( XDeferredQueue& ioMessages, const XListener& inListener )
{
    for ( XEntry* entry = ioMessages.GetFirst(); entry; entry = entry->next )
        std::erase( entry->record.exclusions, &inListener );
}

/// Forgets this thread's calls of a listener; true while another thread is calling it.
bool XMessageQueues::ForgetCalls( const XListener& inListener )
{
    const std::uint32_t ownID = WThreadID::GetCurrent();
    bool isCalledElsewhere = false;
    for ( XCall* call = itsCalls; call; call = call->next )
    {
        if ( call->listener != &inListener )
            continue;
        if ( call->threadID == ownID )
            call->listener = nullptr;
        else
            isCalledElsewhere = true;
    }
    return isCalledElsewhere;
}

// ---- Asking

bool XMessageQueues::HasMessage( XWhen inQueue )
{
    const XThreadLock lock( itsDeferredMutex );
    return SelectQueue( inQueue ).messages.GetCount() > 0;
}

USize XMessageQueues::GetCount()
{
    const XThreadLock lock( itsDeferredMutex );
    return itsNextEventMessages.messages.GetCount() + itsIdleMessages.messages.GetCount();
}
