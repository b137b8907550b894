#pragma once

#include "Ground/XTypes.h"

#include <atomic>

class XSpeaker;

/// Base class of the messages that speakers send to listeners. A concrete class implements `Clone`; if two
/// messages of the class can be equal, also `operator==` and `GetCoalesceKey`.
///
/// Ownership: a message belongs to its creator. A queued message is a clone, which the queue owns until it is
/// delivered or withdrawn.
/// Threads: a message is a value, used by one thread at a time. The queue calls `Clone` and `GetCoalesceKey`
/// on the sender's thread, and there also, under a process-wide lock, `ShouldCoalesceQueueMessage` of a
/// queued message: these functions must only compute, and must not access the speaker, which may have been
/// destroyed.
class KORVALE_API XMessage
{
public:
    /// How a new message is combined with one that is already queued.
    enum XCoalesce : std::uint32_t
    {
        kCoalesceNone = 0,    ///< both are kept
        kCoalesceMerge = 1,   ///< keep only the queued message
        kCoalesceReplace = 2, ///< drop the queued message and queue the new one at the back
    };

    explicit XMessage( XSpeaker* inSpeaker = nullptr );

    /// A copy gets a time metric of its own.
    XMessage( const XMessage& inOther );
    XMessage& operator=( const XMessage& inOther ) = default;
    virtual ~XMessage();

    /// A copy with the dynamic class of this message; the caller owns it.
    virtual XMessage* Clone() const = 0;

    /// Called on a queued message with a new one of the same speaker (and, for posted messages, the same
    /// listener). Merges equal messages by default.
    virtual XCoalesce ShouldCoalesceQueueMessage( const XMessage& inNewMessage ) const;

    /// True for a message of the same class and the same speaker. An override must include the base's
    /// comparison.
    virtual bool operator==( const XMessage& inOther ) const;

    /// Orders unequal messages by their creation. False for equal ones.
    virtual bool operator<( const XMessage& inOther ) const;
    bool operator!=( const XMessage& inOther ) const { return !( *this == inOther ); }

    /// A key that makes long queues fast: messages that may coalesce must have equal keys, so that the queue
    /// calls `ShouldCoalesceQueueMessage` only for queued messages with the key of the new one. The default,
    /// 0, makes it call all messages of the speaker. A class whose `operator==` compares a value returns that
    /// value or a hash of it; a class whose messages never coalesce returns the time metric. The library's
    /// classes return 0 for objects of derived classes, so that an override of `ShouldCoalesceQueueMessage`
    /// is called for all messages of the speaker until the derived class defines its own key.
    virtual std::uint64_t GetCoalesceKey() const noexcept;

    /// The sender; not owned, null until set. A message delivered from a queue has the speaker that spoke it.
    XSpeaker* GetSpeaker() const { return itsSpeaker; }
    void SetSpeaker( XSpeaker* inSpeaker ) { itsSpeaker = inSpeaker; }

    /// The thread that created the message; copies keep it.
    std::uint32_t GetSenderThreadID() const { return itsSenderThreadID; }
    void SetSenderThreadID( std::uint32_t inThreadID ) { itsSenderThreadID = inThreadID; }

    /// The number of the message in the process, in the order of creation, modulo 2^32.
    std::uint32_t GetTimeMetric() const { return itsTimeMetric; }

private:
    static std::uint32_t TakeTimeMetric();

    static std::atomic<std::uint32_t> sNextTimeMetric;

    XSpeaker* itsSpeaker;
    std::uint32_t itsSenderThreadID;
    std::uint32_t itsTimeMetric;
};
