#include "Messaging/Internal/XMessageQueues.h"

#include "Core/Errors/XErrorLog.h"
#include "Core/Times/XTimer.h"
#include "Messaging/Internal/XListenerList.h"
#include "Messaging/XListener.h"
#include "Process/WMainLoop.h"
#include "Threads/XThread.h"
#include "Threads/XThreadLock.h"

#include <algorithm>
#include <new>
#include <optional>
#include <utility>

// What is protected from what. A handler runs without the mutex of the queues, so the listener that it
// belongs to, and the speaker of its message, could be destroyed meanwhile by another thread. Two mechanisms
// prevent that:
// - A message for all listeners of a speaker is broadcast under the mutex of the speaker's list, which the
//   destructors of the speaker and of its listeners need.
// - A message for one listener is registered as an XCall, on the stack of the delivering thread, in the list
//   itsCalls. The destructors wait until no call on another thread names their object (EndCallsOf).
//
// Destruction by the handler itself must not wait for its own call. Its call is detached instead: the member
// that names the dying object becomes null.
//
// Two handlers of one listener on two threads that both stop the listener would wait for each other.
// Therefore a stop first marks the calls on its own thread (XCall::stops), and a stop from within a handler
// passes over calls so marked. Only a destructor outside the handlers waits for all.
//
// Between AnnouncePost and Begin a post is known only by a counter in the listener (IsPostBeginning), because
// the mutex cannot be taken before the listener is known to exist; ForgetListener waits for that counter,
// too.
//
// Draining. A drain delivers what was queued when it began (serial numbers below outEnd), so handlers that
// queue messages cannot keep it from returning. Only one drain runs at a time: a handler that drains finds
// itsIsDraining set.

namespace
{

constexpr std::uint32_t kIdleBudgetMS = 100;

using XEntry = XDeferredQueue::XEntry;
using XItem = XDeferredQueue::XItem;

void Unite( XSpeaker::XListenerVector& ioListeners, const XSpeaker::XListenerVector& inListeners )
{
    if ( inListeners.empty() )
        return;
    ioListeners.insert( ioListeners.end(), inListeners.begin(), inListeners.end() );
    std::ranges::sort( ioListeners );
    ioListeners.erase( std::unique( ioListeners.begin(), ioListeners.end() ), ioListeners.end() );
}

} // namespace

/// Registers a call of a single listener for its duration: destructors of the listener and the speaker wait
/// for it. Constructed under the mutex.
class XMessageQueues::XCallScope
{
public:
    explicit XCallScope( XMessageQueues& inQueues ) : itsQueues( inQueues ) {}
    XCallScope( const XCallScope& ) = delete;
    XCallScope& operator=( const XCallScope& ) = delete;
    ~XCallScope()
    {
        // Never begun, or ended by the caller under the mutex.
        if ( itsCall.threadID == 0 )
            return;
        const XThreadLock lock( itsQueues.itsDeferredMutex );
        End();
    }

    void Begin( const XListener& inListener, const XListenerList* inSpeakersList )
    {
        itsCall = { &inListener, inSpeakersList, nullptr, WThreadID::GetCurrent(), itsQueues.itsCalls };
        itsQueues.itsCalls = &itsCall;
    }

    /// Begins the call of a post that has been announced, unless the listener or the speaker has stopped.
    bool BeginPost( XListener& inListener, const XListenerList* inSpeakersList )
    {
        const bool isListening = inListener.BeginPost();
        if ( !isListening )
            itsQueues.itsCallEnded.Broadcast();
        if ( !isListening || ( inSpeakersList && !inSpeakersList->GetSpeaker() ) )
            return false;
        Begin( inListener, inSpeakersList );
        return true;
    }

    /// Whether the message may still be queued. Under the mutex.
    bool MayQueue( const XListener& inListener, const XListenerList* inSpeakersList ) const
    {
        return itsCall.listener && !inListener.HasFlag( XListener::kStopped ) &&
            ( !inSpeakersList || inSpeakersList->GetSpeaker() );
    }

    /// Under the mutex.
    void End()
    {
        XCall** link = &itsQueues.itsCalls;
        while ( *link != &itsCall )
            link = &( *link )->next;
        *link = itsCall.next;
        itsCall.threadID = 0;
        itsQueues.itsCallEnded.Broadcast();
    }

private:
    XMessageQueues& itsQueues;
    XCall itsCall;
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
            // Destroys the message; the entry itself returns to its queue below.
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

// Copies are made before the mutex is taken, and leftovers are destroyed after it has been released: under
// the mutex threads only compare and link.

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

void XMessageQueues::Post( const XMessage& inMessage, XListener& inListener, XWhen inWhen )
{
    if ( !inListener.AnnouncePost() )
        return;
    const XSpeaker* const speaker = inMessage.GetSpeaker();
    std::optional<XListenerList::XPin> pin;
    if ( speaker )
        pin.emplace( *speaker->itsListeners );
    XListenerList* const speakersList = pin ? &**pin : nullptr;
    XCallScope call( *this );
    {
        const XThreadLock lock( itsDeferredMutex );
        if ( !call.BeginPost( inListener, speakersList ) )
            return;
    }
    if ( XSpeaker::IsMuted( speaker, inMessage ) )
        return;
    const bool mayCall = inListener.IsAsynchronous() || XThread::IsMainThread();
    if ( inWhen != XSpeaker::kWhenImmediate && ( inWhen != XSpeaker::kWhenDefault || !mayCall ) )
        AddPost( inMessage, inListener, speakersList, inWhen, call );
    else if ( !inListener.IsDeafTo( inMessage ) )
        inListener.HandleMessage( inMessage );
}

void XMessageQueues::AddPost(
    const XMessage& inMessage, XListener& inListener, XListenerList* inSpeakersList, XWhen inWhen,
    XCallScope& ioCall )
{
    XItem item = XDeferredQueue::MakeItem( inMessage, inSpeakersList, &inListener, {} );
    const XThreadLock lock( itsDeferredMutex );
    if ( ioCall.MayQueue( inListener, inSpeakersList ) )
        AddLocked(
            SelectQueue( inWhen == XSpeaker::kWhenDefault ? XSpeaker::kWhenNextEvent : inWhen ), item );
    ioCall.End();
}

void XMessageQueues::PostNotice( XEntry& inNotice ) noexcept
{
    const XThreadLock lock( itsDeferredMutex );
    if ( inNotice.queue )
        return;
    inNotice.record.target->SetFlag( XListener::kPosted, true );
    itsNextEventMessages.messages.PushBackNotice( inNotice );
    Signal( itsNextEventMessages );
}

void XMessageQueues::WithdrawNotice( XEntry& inNotice ) noexcept
{
    const XThreadLock lock( itsDeferredMutex );
    if ( inNotice.queue )
        inNotice.queue->Unlink( inNotice );
}

/// A leftover stays in the item: the message itself if a queued one absorbs it, or the one that it replaces.
void XMessageQueues::AddLocked( XQueue& ioQueue, XItem& ioItem )
{
    if ( !ioItem.record.exclusions.empty() )
        ForgetExclusionsOfDead();
    XDeferredQueue& messages = ioQueue.messages;
    auto coalesce = XMessage::kCoalesceNone;
    XEntry* like = messages.FindFirstLike( ioItem );
    for ( ; like; like = XDeferredQueue::FindNextLike( *like ) )
    {
        coalesce = like->record.message->ShouldCoalesceQueueMessage( *ioItem.record.message );
        if ( coalesce != XMessage::kCoalesceNone )
            break;
    }
    // The queued message has absorbed this one; listeners excluded from either stay excluded.
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

/// The main loop is woken once for all that comes before its next drain, and for the first message of an empty
/// queue in any case: the loop may have been awake for messages that were withdrawn, and sleep again.
void XMessageQueues::Signal( XQueue& ioQueue )
{
    if ( ioQueue.event.IsSet() && ioQueue.messages.GetCount() > 1 )
        return;
    ioQueue.event.Set();
    WMainLoop::Wake();
}

// ---- Delivering

/// Delivers the first message if it was queued before the end. Its receiver is protected from destruction
/// under the mutex: a listener by the call, a speaker by the mutex of its list.
bool XMessageQueues::Deliver( XQueue& ioQueue, std::uint64_t inEnd )
{
    XItem item;
    XListener* target = nullptr;
    const XMessage* theMessage = nullptr;
    XCallScope call( *this );
    std::optional<XListenerList::XPin> speakersList;
    {
        const XThreadLock lock( itsDeferredMutex );
        XEntry* const first = ioQueue.messages.GetFirst();
        if ( !first || first->serial >= inEnd || itsSuspendIdleProcessing > 0 )
            return false;
        if ( !first->record.exclusions.empty() )
            ForgetExclusionsOfDead();
        target = first->record.target;
        theMessage = first->record.message.get();
        if ( target )
            call.Begin( *target, first->speakersList );
        else
            speakersList.emplace( *first->speakersList );
        if ( first->isNotice )
            ioQueue.messages.Unlink( *first );
        else
            // Taken in the same step as the registration of the call: from here on ForgetListener finds the
            // call instead of the entry.
            item = ioQueue.messages.Take( *first );
    }
    if ( target )
    {
        if ( !target->IsDeafTo( *theMessage ) )
            target->HandleMessage( *theMessage );
        return true;
    }
    XAssert( theMessage->GetSpeaker() );
    ( *speakersList )->Broadcast( *theMessage, false, item.record.exclusions );
    return true;
}

bool XMessageQueues::DeliverAndLog( XQueue& ioQueue, std::uint64_t inEnd )
{
    try
    {
        return Deliver( ioQueue, inEnd );
    }
    catch ( ... )
    {
        XErrorLog::AddCurrentException();
        return true;
    }
}

bool XMessageQueues::BeginDrain( const XQueue& inQueue, std::uint64_t& outEnd )
{
    const XThreadLock lock( itsDeferredMutex );
    if ( itsSuspendIdleProcessing > 0 || itsIsDraining )
        return false;
    itsIsDraining = true;
    outEnd = inQueue.messages.GetEnd();
    return true;
}

void XMessageQueues::DrainNextEvent()
{
    WMainLoop::ClearWake();
    std::uint64_t end = 0;
    if ( !BeginDrain( itsNextEventMessages, end ) )
        return;
    while ( DeliverAndLog( itsNextEventMessages, end ) )
        ;

    const XThreadLock lock( itsDeferredMutex );
    itsIsDraining = false;
    itsNextEventMessages.event.Clear();
    if ( itsNextEventMessages.messages.GetCount() > 0 )
        WMainLoop::Wake();
}

bool XMessageQueues::DrainIdle()
{
    const XTimer timer( kIdleBudgetMS );
    std::uint64_t end = 0;
    if ( !BeginDrain( itsIdleMessages, end ) )
        return false;
    bool hasDelivered = false;
    while ( !timer.HasExpired() && DeliverAndLog( itsIdleMessages, end ) )
        hasDelivered = true;

    const XThreadLock lock( itsDeferredMutex );
    itsIsDraining = false;
    if ( itsIdleMessages.messages.GetCount() == 0 )
        itsIdleMessages.event.Clear();
    // A handler may have tried to drain the next events, which silenced the bell: they count here too.
    if ( itsIdleMessages.messages.GetCount() > 0 || itsNextEventMessages.messages.GetCount() > 0 )
        WMainLoop::Wake();
    return hasDelivered;
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
    ForgetExclusionsOfDead();
    XDeferredQueue& messages = SelectQueue( inQueue ).messages;
    for ( XEntry* entry = messages.GetFirst(); entry; )
    {
        XEntry* const next = entry->next;
        if ( !entry->isNotice && inPredicate( entry->record ) )
            withdrawn.Add( *entry );
        entry = next;
    }
    return withdrawn.GetCount();
}

void XMessageQueues::ForgetSpeaker( const XListenerList& inSpeakersList, bool inIsDying )
{
    XWithdrawn withdrawn( *this );
    const XThreadLock lock( itsDeferredMutex );
    while ( XEntry* const entry = inSpeakersList.itsFirstQueued )
        withdrawn.Add( *entry );
    // For a speaker that stops within a handler of its own message.
    const bool mayPassOver =
        !inIsDying && ChangeOwnCallsOf( inSpeakersList, &XCall::speakersList, &inSpeakersList, nullptr );
    EndCallsOf( inSpeakersList, &XCall::speakersList, mayPassOver, inIsDying );
}

void XMessageQueues::ForgetListener(
    const XListener& inListener, bool inMayBeExcluded, bool inMayPassOver, bool inIsDying )
{
    XWithdrawn withdrawn( *this );
    const XThreadLock lock( itsDeferredMutex );
    for ( XQueue* const queue : { &itsNextEventMessages, &itsIdleMessages } )
        while ( XEntry* const entry = queue->messages.FindFirstFor( inListener ) )
            withdrawn.Add( *entry );
    // Exclusions are compared by address only, so a listener that merely stops may stay in them.
    if ( inMayBeExcluded && inIsDying )
        ForgetExclusionsOf( inListener );
    while ( inListener.IsPostBeginning() )
        itsCallEnded.Wait( itsDeferredMutex );
    EndCallsOf( inListener, &XCall::listener, inMayPassOver, inIsDying );
}

/// A listener made later may get the same address, but no message excludes it before exclusions are next looked at.
/// Until then the dead are collected, so that many which die are looked for at once.
void XMessageQueues::ForgetExclusionsOf( const XListener& inListener )
{
    try
    {
        itsDeadListeners.push_back( &inListener );
        if ( itsDeadListeners.size() >= itsMostDeadListeners )
            ForgetExclusionsOfDead();
    }
    catch ( const std::bad_alloc& )
    {
        ForgetExclusions( [&]( const XListener* inOther ) { return inOther == &inListener; } );
    }
}

void XMessageQueues::ForgetExclusionsOfDead()
{
    if ( itsDeadListeners.empty() )
        return;
    std::ranges::sort( itsDeadListeners );
    const USize leftCount = ForgetExclusions(
        [&]( const XListener* inOther ) { return std::ranges::binary_search( itsDeadListeners, inOther ); } );
    itsDeadListeners.clear();
    // The walk costs as much as there are exclusions; with at least as many dead listeners for each walk, the
    // cost per listener is constant on average.
    itsMostDeadListeners = std::max( kLeastDeadListeners, leftCount );
}

/// Returns how many exclusions are left.
template<class TIsDead>
USize XMessageQueues::ForgetExclusions( const TIsDead& inIsDead )
{
    USize leftCount = 0;
    for ( const XQueue* const queue : { &itsNextEventMessages, &itsIdleMessages } )
        for ( XEntry* entry = queue->messages.GetFirst(); entry; entry = entry->next )
        {
            std::erase_if( entry->record.exclusions, inIsDead );
            leftCount += entry->record.exclusions.size();
        }
    return leftCount;
}

bool XMessageQueues::MarkOwnCallsOf( const XListener& inListener )
{
    const XThreadLock lock( itsDeferredMutex );
    return ChangeOwnCallsOf( inListener, &XCall::listener, &inListener, &inListener );
}

/// Waits for calls on other threads that concern the stopping listener or speaker. Calls on this thread are
/// detached when it is destroyed.
template<class T>
void XMessageQueues::EndCallsOf(
    const T& inOne, const T* XCall::*inMember, bool inMayPassOver, bool inIsDying )
{
    const T* const one = inIsDying ? nullptr : &inOne;
    ChangeOwnCallsOf<T>( inOne, inMember, one, one );
    const std::uint32_t ownID = WThreadID::GetCurrent();
    const auto isCalledElsewhere = [&]
    {
        for ( const XCall* call = itsCalls; call; call = call->next )
            if ( call->*inMember == &inOne && call->threadID != ownID &&
                 !( inMayPassOver && call->stops == &inOne ) )
                return true;
        return false;
    };
    while ( isCalledElsewhere() )
        itsCallEnded.Wait( itsDeferredMutex );
    ChangeOwnCallsOf<T>( inOne, inMember, one, nullptr );
}

/// Returns whether there are any.
template<class T>
bool XMessageQueues::ChangeOwnCallsOf(
    const T& inOne, const T* XCall::*inMember, const T* inNewOne, const void* inStops )
{
    const std::uint32_t ownID = WThreadID::GetCurrent();
    bool isAny = false;
    for ( XCall* call = itsCalls; call; call = call->next )
        if ( call->*inMember == &inOne && call->threadID == ownID )
        {
            call->*inMember = inNewOne;
            call->stops = inStops;
            isAny = true;
        }
    if ( isAny )
        itsCallEnded.Broadcast();
    return isAny;
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
