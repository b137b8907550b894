#pragma once

#include "Messaging/Internal/XDeferredQueue.h"
#include "Threads/Waiting/WEvent.h"
#include "Threads/XConditionVariable.h"

/// The two message queues of the process and the running calls of single listeners, guarded by one mutex,
/// which is never held while a handler runs. Internal to XSpeaker and XListener. Created on first use and
/// never destroyed, since speakers and listeners may be static.
class XMessageQueues
{
public:
    using XWhen = XSpeaker::XWhen;
    using XListenerVector = XSpeaker::XListenerVector;
    using XPredicate = std::function<bool( const XSpeaker::XDeferredMessageRecord& )>;

    static XMessageQueues& Get();

    /// Queues a copy of a message for all listeners of a speaker, unless it has stopped. The caller holds a
    /// pin.
    void
    Add( const XMessage& inMessage, XListenerList& inSpeakersList, XWhen inWhen,
         const XListenerVector& inExclusions );

    /// Calls one listener, or queues a copy of a message for it, unless the listener or the message's speaker
    /// has stopped. If either is destroyed on another thread meanwhile, its destruction waits for the end of
    /// the call.
    void Post( const XMessage& inMessage, XListener& inListener, XWhen inWhen );

    void PostNotice( XDeferredQueue::XEntry& inNotice ) noexcept;
    void WithdrawNotice( XDeferredQueue::XEntry& inNotice ) noexcept;

    void DrainNextEvent();
    bool DrainIdle();

    void Suspend();
    void Resume();

    USize RemoveIf( XWhen inQueue, const XPredicate& inPredicate );

    /// Withdraws the messages of a stopped speaker and waits until other threads have ended calls of single
    /// listeners with its messages. With `inIsDying`, also detaches such calls on this thread.
    void ForgetSpeaker( const XListenerList& inSpeakersList, bool inIsDying );

    /// Withdraws the messages for a stopped listener and waits until other threads have ended calls of it.
    /// With `inIsDying`, also detaches such calls on this thread.
    void
    ForgetListener( const XListener& inListener, bool inMayBeExcluded, bool inMayPassOver, bool inIsDying );

    /// Marks the calls of a listener on this thread as stopping it, so that other threads that may pass over
    /// such calls do not wait for them. Returns whether there are any.
    bool MarkOwnCallsOf( const XListener& inListener );

    bool HasMessage( XWhen inQueue );
    USize GetCount();
    WEvent& GetEvent( XWhen inQueue ) { return SelectQueue( inQueue ).event; }

private:
    struct XQueue
    {
        XDeferredQueue messages;
        WEvent event; // set when a message is added, reset by drains
    };

    /// A running call of a single listener, on the stack of its thread.
    struct XCall
    {
        const XListener* listener = nullptr; // null once it has been destroyed within the call
        // of the message's speaker; null once that has been destroyed
        const XListenerList* speakersList = nullptr;
        // the listener or speaker that the handler itself is stopping
        const void* stops = nullptr;
        std::uint32_t threadID = 0;
        XCall* next = nullptr;
    };
    class XCallScope;
    class XWithdrawn;

    static constexpr USize kLeastDeadListeners = 1024;

    XMessageQueues() = default;

    XQueue& SelectQueue( XWhen inWhen )
    {
        return inWhen == XSpeaker::kWhenNextEvent ? itsNextEventMessages : itsIdleMessages;
    }

    // Called under the mutex.
    void AddLocked( XQueue& ioQueue, XDeferredQueue::XItem& ioItem );
    void Signal( XQueue& ioQueue );
    void ForgetExclusionsOf( const XListener& inListener );
    void ForgetExclusionsOfDead();
    template<class TIsDead>
    USize ForgetExclusions( const TIsDead& inIsDead );
    template<class T>
    void EndCallsOf( const T& inOne, const T* XCall::*inMember, bool inMayPassOver, bool inIsDying );
    template<class T>
    bool
    ChangeOwnCallsOf( const T& inOne, const T* XCall::*inMember, const T* inNewOne, const void* inStops );

    // Called without the mutex.
    void AddPost(
        const XMessage& inMessage, XListener& inListener, XListenerList* inSpeakersList, XWhen inWhen,
        XCallScope& ioCall );
    bool BeginDrain( const XQueue& inQueue, std::uint64_t& outEnd );
    bool Deliver( XQueue& ioQueue, std::uint64_t inEnd );
    bool DeliverAndLog( XQueue& ioQueue, std::uint64_t inEnd );

    XMutex itsDeferredMutex; // guards the members below
    XQueue itsNextEventMessages;
    XQueue itsIdleMessages;
    std::int32_t itsSuspendIdleProcessing = 0;  // drains deliver nothing while it is above 0
    bool itsIsDraining = false;                 // nor while another drain is running
    XVector<const XListener*> itsDeadListeners; // queued messages may still exclude them
    USize itsMostDeadListeners = kLeastDeadListeners;
    XCall* itsCalls = nullptr;
    XConditionVariable itsCallEnded;
};
