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

/// Sends messages to the listeners that have subscribed, in the order of their first subscriptions:
/// immediately on the calling thread, or later on the main thread, from one of two process-wide queues that
/// the main thread's loop drains (XMainLoop).
///
/// A broadcast holds the speaker's recursive mutex, so a handler may speak through the same speaker,
/// subscribe and unsubscribe listeners, and destroy listeners and the speaker itself. As with any lock, two
/// handlers on two threads that speak through each other's speakers deadlock.
///
/// Lifetime: it may be destroyed while other threads are calling it, including their handlers: its
/// subscriptions end and its queued messages are withdrawn. `StopSpeaking` documents which of these calls the
/// destructor waits for; the others, including those that wait for the speaker's mutex, end without effect
/// and do not access the speaker again. As with any object, no call may begin once the destructor has begun.
/// If other threads may be calling it, the destructor of the most derived class must begin with
/// `StopSpeaking()`: the base's destructor calls it too, but only after the derived members have been
/// destroyed.
/// Threads: every operation except the drains may be called from any thread. `SetIsMute` must have returned
/// on other threads before the speaker is destroyed.
class KORVALE_API XSpeaker
{
public:
    /// When a message is delivered.
    enum XWhen : std::uint32_t
    {
        /// immediately if the listener allows it, otherwise at the main thread's next event
        kWhenDefault = 0,
        kWhenImmediate = 1, ///< immediately on the calling thread, for every listener
        kWhenNextEvent = 2, ///< in the next round of the main thread's loop
        kWhenIdle = 3,      ///< when the main thread is idle
    };

    using XListenerVector = XVector<const XListener*>;

    /// A queued message.
    struct XDeferredMessageRecord
    {
        XListener* target = nullptr; ///< null for all listeners of the message's speaker
        std::unique_ptr<XMessage> message;
        XListenerVector exclusions; ///< listeners that have already received the message
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

    /// A copy has no listeners and no muted classes. Assignment changes nothing: listeners belong to each
    /// speaker.
    XSpeaker( const XSpeaker& inOther );
    XSpeaker& operator=( const XSpeaker& inOther );
    virtual ~XSpeaker();

    // ---- Speaking

    /// Sends a message to all listeners, unless its class is muted. An exception of a listener that is called
    /// immediately reaches the caller, and the remaining listeners are not called.
    virtual void SpeakMessage( const XMessage& inMessage, XWhen inWhen = kWhenDefault );

    /// Sends a message to one listener, subscribed or not, by the same rules. The message's speaker, if any,
    /// may mute it. The listener and that speaker must exist when the call begins; if another thread destroys
    /// one of them, its destruction waits for the end of the call, including the handler. If one of them has
    /// stopped (`XListener::StopListening`, `StopSpeaking`), the message is dropped.
    static void PostXMessage( const XMessage& inMessage, XListener& inListener, XWhen inWhen = kWhenDefault );

    /// Suppresses messages of exactly this class when they are spoken, or allows them again.
    void SetIsMute( const std::type_info& inMessageType, bool inIsMute );
    bool IsContainedInMutedMessages( const std::type_info& inMessageType ) const;

    /// Removes all listeners, withdraws the queued messages and waits until no other thread is calling a
    /// handler with a message of this speaker or posting one. It does not wait for handlers further up on
    /// this thread, or for calls of `SpeakMessage` that have not reached a handler. Messages that these and
    /// later calls speak are dropped.
    void StopSpeaking();

    // ---- Listeners. Same as XListener::Subscribe and Unsubscribe.

    void SafeSubscribeListener( XListener& inListener ) const;
    void SafeUnsubscribeListener( XListener& inListener ) const;

    /// Removes a listener regardless of the number of its subscriptions.
    void HardUnsubscribeListener( XListener& inListener ) const;
    void RemoveAllListeners();

    /// The number of listeners, regardless of the number of their subscriptions.
    USize GetListenerCount() const;

    /// False only if there are no subscriptions. Takes no lock.
    bool HasListeners() const;

    /// Held during a broadcast and while subscriptions change. While a caller holds it, the caller must keep
    /// the speaker alive.
    XMutex& GetSpeakerMutex() const;

    // ---- The queues. The drains are for the main thread only (internal error, "XThread::IsMainThread()").

    /// Delivers the messages that are queued at the start of the call. Exceptions of handlers are written to
    /// the session log. Messages queued meanwhile wait for the next call, for which the main loop is woken.
    /// Does nothing within a handler of a drain and while processing is suspended.
    static void ProcessAllNextEventMessages();

    /// Delivers idle messages like ProcessAllNextEventMessages, but for at most 100 ms; the rest waits for
    /// the next idle time. Returns whether it delivered any message.
    static bool ProcessAllIdleMessages();

    static bool IsNextEventMessageToProcess();
    static bool IsIdleMessageToProcess();

    /// Set when a message is queued. A drain of the next-event queue resets its event even if messages are
    /// left; a drain of the idle queue resets its event only if none is left. A loop that waits for nothing
    /// else may wait for it only while `IsNextEventMessageToProcess()` is false; other loops use the handle
    /// of WMainLoop (docs/event-loops.md).
    static WEvent& GetMsgInNextEventQueueEvent();
    static WEvent& GetMsgInIdleQueueEvent();

    /// While there have been more calls of SuspendIdleProcessing than of ResumeIdleProcessing, drains of both
    /// queues deliver nothing; a running drain ends after its current message.
    static void SuspendIdleProcessing();
    static void ResumeIdleProcessing();

    /// The number of messages in both queues.
    static USize GetDeferredCount();

    /// The number of immediate broadcasts since the process began, modulo 2^32.
    static std::uint32_t GetMessageCount();

    /// Withdraws the selected messages from the queue of `kWhenNextEvent` or `kWhenIdle`, and returns their
    /// number. The predicate must not use the queues. It is not applied to the library's own notices, such as
    /// those by which job queues complete their jobs.
    static USize RemoveFromDelayedQueue(
        XWhen inQueue, const std::function<bool( const XDeferredMessageRecord& )>& inPredicate );

    /// "Message count: " and "Deferred: " with their numbers, each line ended by "\r".
    static XString GetDebugStatus();

protected:
    /// Calls the listeners. An override calls this for the listeners it wants to reach. With `inIsForced`,
    /// ordinary listeners are called immediately on any thread instead of at the next event.
    virtual void
    SpeakMessageNowSelf( const XMessage& inMessage, bool inIsForced, const XListenerVector& inExclusions );

    /// Broadcasts immediately.
    void SpeakMessageNow( const XMessage& inMessage, bool inIsForced, const XListenerVector& inExclusions );

private:
    friend class XListener;
    friend class XListenerList;
    friend class XMessageQueues;

    void Stop( bool inIsDying );
    static bool MayBroadcast( const XListenerList& inListeners );

    /// Does not access the speaker, which may be null.
    static bool IsMuted( const XSpeaker* inSpeaker, const XMessage& inMessage );
    void ForgetMutedMessages();

    static std::atomic<std::uint32_t> sMessageCount;

    XListenerList* itsListeners; // shared with the listeners and may outlive the speaker
    std::atomic<bool> itsHasMutedMessages = false;
};
