#pragma once

#include "Ground/XTypes.h"

#include <atomic>

class XSpeaker;

/// What a speaker tells its listeners: the base of every message. A concrete message implements `Clone` and,
/// where two messages of its class can mean the same, `operator==` and `GetCoalesceKey`.
///
/// Ownership: a message belongs to whoever made it. One that is queued for later is cloned, and the clone
/// belongs to the queue until it is delivered or withdrawn.
/// Threads: a message is a value: one thread at a time. The queue calls `Clone` and `GetCoalesceKey` on the
/// sender's thread, and there too, under a process-wide lock, `ShouldCoalesceQueueMessage` of a queued
/// message: these only compute, and do not look into the speaker, which may have been destroyed.
class KORVALE_API XMessage
{
public:
    /// What becomes of a new message beside one that is queued already.
    enum XCoalesce : std::uint32_t
    {
        kCoalesceNone = 0,    ///< both are kept
        kCoalesceMerge = 1,   ///< the queued message stands for the new one, which is not queued
        kCoalesceReplace = 2, ///< the queued message is dropped and the new one queued at the back
    };

    explicit XMessage( XSpeaker* inSpeaker = nullptr );

    /// A copy was made when it was copied: it has the time metric of its own.
    XMessage( const XMessage& inOther );
    XMessage& operator=( const XMessage& inOther ) = default;
    virtual ~XMessage();

    /// A copy of the most derived class; the caller owns it.
    virtual XMessage* Clone() const = 0;

    /// Asked of this message, which is queued, about a new one of the same speaker (and, for posted messages,
    /// the same listener). Merges equal messages by default.
    virtual XCoalesce ShouldCoalesceQueueMessage( const XMessage& inNewMessage ) const;

    /// True for a message of the same class and the same speaker. An override begins with the base's
    /// comparison.
    virtual bool operator==( const XMessage& inOther ) const;

    /// Orders unequal messages by their creation. False for equal ones.
    virtual bool operator<( const XMessage& inOther ) const;
    bool operator!=( const XMessage& inOther ) const { return !( *this == inOther ); }

    /// A promise that makes long queues fast: messages that may coalesce have the same key, so that the queue
    /// asks `ShouldCoalesceQueueMessage` only of queued messages with the key of the new one. Always 0 by
    /// default, and then the queue asks all messages of the speaker. A class whose objects differ in a value
    /// that `operator==` compares returns (a hash of) that value, and one whose objects never coalesce the time
    /// metric. The library's classes have keys for themselves alone: for objects of derived classes they return
    /// 0, so that an override of `ShouldCoalesceQueueMessage` is asked about all messages of the speaker until
    /// the derived class has a key of its own.
    virtual std::uint64_t GetCoalesceKey() const noexcept;

    /// The sender; not owned, and null until it is set. A message that is delivered from a queue has the
    /// speaker that spoke it.
    XSpeaker* GetSpeaker() const { return itsSpeaker; }
    void SetSpeaker( XSpeaker* inSpeaker ) { itsSpeaker = inSpeaker; }

    /// The thread that made the message; copies keep it.
    std::uint32_t GetSenderThreadID() const { return itsSenderThreadID; }
    void SetSenderThreadID( std::uint32_t inThreadID ) { itsSenderThreadID = inThreadID; }

    /// Counts the messages of the process in the order of their creation, modulo 2^32.
    std::uint32_t GetTimeMetric() const { return itsTimeMetric; }

private:
    static std::uint32_t TakeTimeMetric();

    static std::atomic<std::uint32_t> sNextTimeMetric;

    XSpeaker* itsSpeaker;
    std::uint32_t itsSenderThreadID;
    std::uint32_t itsTimeMetric;
};
