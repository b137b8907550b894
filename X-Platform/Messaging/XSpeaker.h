#pragma once

#include "Threads/XMutex.h"

#include <functional>
#include <initializer_list>
#include <memory>
#include <typeinfo>

class WEvent;
class XListener;
class XListenerList;
class XMessage;
class XString;

/// Tells its messages to the listeners that have subscribed, in the order in which they first did: at once on
/// the calling thread, or later on the main thread, out of one of two process-wide queues that the main
/// thread's loop drains (XMainLoop).
///
/// A broadcast holds the speaker's recursive mutex, so a handler may speak through the same speaker again,
/// subscribe and unsubscribe listeners, and destroy listeners and the speaker itself. As with any lock, two
/// handlers on two threads that each speak through the other's speaker wait for each other for ever.
///
/// Lifetime:  may be destroyed while other threads are in calls of it, handlers included: its listeners forget
/// it and its queued messages are withdrawn. `StopSpeaking` tells which of these calls the destructor waits
/// for; the others, those that wait for the speaker's mutex among them, end without effect and do not touch the
/// speaker again. As with any object, no call may begin once the destructor has begun. Where other threads may be
/// in calls, the most derived class's destructor begins with `StopSpeaking()`: the base's destructor makes the
/// call as well, but runs when the derived members are gone already.
/// Threads: every operation may be called from any thread, except the drains. `SetIsMute` must have returned on
/// other threads before the speaker is destroyed.
class KORVALE_API XSpeaker
{
public:
    /// When a message is delivered.
    enum XWhen : std::uint32_t
    {
        kWhenDefault = 0,   ///< at once where the listener allows it, else at the main thread's next event
        kWhenImmediate = 1, ///< at once on the calling thread, to every listener
        kWhenNextEvent = 2, ///< when the main thread's loop next runs
        kWhenIdle = 3,      ///< when the main thread is idle
    };

    using XListenerVector = XVector<const XListener*>;

    /// A message that waits in a queue.
    struct XDeferredMessageRecord
    {
        XListener* target = nullptr; ///< null: all listeners of the message's speaker
        std::unique_ptr<XMessage> message;
        XListenerVector exclusions; ///< who has heard the message already
    };

    /// Selects records whose message is of exactly one of the given classes.
    class KORVALE_API XRemoveMsgsByType
    {
    public:
        XRemoveMsgsByType( std::initializer_list<const std::type_info*> inTypes );
        explicit XRemoveMsgsByType( XVector<const std::type_info*> inTypes );
        bool operator()( const XDeferredMessageRecord& inRecord ) const;

    private:
        XVector<const std::type_info*> itsTypes;
    };

    /// Selects records whose message has the given speaker.
    class KORVALE_API XRemoveMsgsSentBySpeaker
    {
    public:
        explicit XRemoveMsgsSentBySpeaker( const XSpeaker& inSpeaker ) : itsSpeaker( &inSpeaker ) {}
        bool operator()( const XDeferredMessageRecord& inRecord ) const;

    private:
        const XSpeaker* itsSpeaker;
    };

    XSpeaker();

    /// A copy has no listeners and mutes nothing. Assigning changes nothing: whom a speaker reaches is its
    /// own.
    XSpeaker( const XSpeaker& inOther );
    XSpeaker& operator=( const XSpeaker& inOther );
    virtual ~XSpeaker();

    // ---- Speaking

    /// Sends a message to all listeners, unless its class is muted. What a listener throws reaches the caller
    /// when it is called at once; the listeners after it are not called then.
    virtual void SpeakMessage( const XMessage& inMessage, XWhen inWhen = kWhenDefault );

    /// Sends a message to one listener, subscribed or not, by the same rules; the message's speaker, if it
    /// has one, may mute it. The listener, and the speaker that the message names, have to exist when the
    /// call begins; what destroys one of them on another thread then waits for the end of the call, the
    /// handler included. Where one of them has stopped (`XListener::StopListening`, `StopSpeaking`) the message
    /// is dropped.
    static void PostXMessage( const XMessage& inMessage, XListener& inListener, XWhen inWhen = kWhenDefault );

    /// Suppresses messages of exactly this class as they are spoken, or lets them pass again.
    void SetIsMute( const std::type_info& inMessageType, bool inIsMute );
    bool IsContainedInMutedMessages( const std::type_info& inMessageType ) const;

    /// Lets all listeners forget this speaker, withdraws its queued messages and waits until no other thread
    /// calls a handler with a message of this speaker or posts one. Handlers further up on this thread are not
    /// waited for, nor are calls of `SpeakMessage` that have not reached a handler. What these and later calls
    /// speak reaches nobody.
    void StopSpeaking();

    // ---- Listeners. XListener::Subscribe and Unsubscribe are the same from the other side.

    void SafeSubscribeListener( XListener& inListener ) const;
    void SafeUnsubscribeListener( XListener& inListener ) const;

    /// Removes a listener however often it has subscribed.
    void HardUnsubscribeListener( XListener& inListener ) const;
    void RemoveAllListeners();

    /// Listeners, however often each has subscribed.
    USize GetListenerCount() const;

    /// False only when nobody has subscribed. Takes no lock.
    bool HasListeners() const;

    /// Held during a broadcast and while subscriptions change. Those who lock it themselves keep the speaker
    /// alive until they have unlocked it.
    XMutex& GetSpeakerMutex() const;

    // ---- The queues: the main thread's side. The drains are for the main thread only: an internal error,
    // "XThread::IsMainThread()", elsewhere.

    /// Delivers the messages that are queued at the start of the call. What a handler throws is written to
    /// the session log. Messages queued meanwhile wait for the next call, for which the main loop is woken.
    /// Does nothing within a handler of a drain and while processing is suspended.
    static void ProcessAllNextEventMessages();

    /// The same for the idle queue, for 100 ms at most; what is left then waits for the next idle time.
    /// Returns whether it delivered anything.
    static bool ProcessAllIdleMessages();

    static bool IsNextEventMessageToProcess();
    static bool IsIdleMessageToProcess();

    /// Set when a message is queued. A drain of the next-event queue resets it even when records are left,
    /// one of the idle queue when none is. A loop that waits on nothing else waits for it only while
    /// `IsNextEventMessageToProcess()` is false; others use the handle of WMainLoop (docs/event-loops.md).
    static WEvent& GetMsgInNextEventQueueEvent();
    static WEvent& GetMsgInIdleQueueEvent();

    /// While more calls were made of the first than of the second, both drains deliver nothing; one that is on
    /// ends with the message that it delivers.
    static void SuspendIdleProcessing();
    static void ResumeIdleProcessing();

    /// Messages in both queues.
    static USize GetDeferredCount();

    /// Immediate broadcasts since the process began, modulo 2^32.
    static std::uint32_t GetMessageCount();

    /// Withdraws the messages that the predicate selects from the queue of `kWhenNextEvent` or `kWhenIdle`.
    /// Returns how many those were. The predicate must not touch the queues. It is not asked about the library's
    /// own notices, such as those by which job queues complete their jobs.
    static USize RemoveFromDelayedQueue(
        XWhen inQueue, const std::function<bool( const XDeferredMessageRecord& )>& inPredicate );

    /// "Message count: " and "Deferred: " with their numbers, each line ended by "\r".
    static XString GetDebugStatus();

protected:
    /// Calls the listeners. Overrides call it for those they want to reach. `inIsForced`: ordinary listeners
    /// are called off the main thread too instead of at the next event.
    virtual void
    SpeakMessageNowSelf( const XMessage& inMessage, bool inIsForced, const XListenerVector& inExclusions );

    /// Broadcasts at once.
    void SpeakMessageNow( const XMessage& inMessage, bool inIsForced, const XListenerVector& inExclusions );

private:
    friend class XListener;
    friend class XListenerList;
    friend class XMessageQueues;

    void Stop( bool inIsDying );
    static bool MayBroadcast( const XListenerList& inListeners );

    /// The speaker, which may be null, is not looked into.
    static bool IsMuted( const XSpeaker* inSpeaker, const XMessage& inMessage );
    void ForgetMutedMessages();

    static std::atomic<std::uint32_t> sMessageCount;

    XListenerList* itsListeners; // shared with the listeners, which may outlive the speaker
    std::atomic<bool> itsHasMutedMessages = false;
};
