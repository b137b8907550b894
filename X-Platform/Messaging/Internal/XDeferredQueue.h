#pragma once

#include "Messaging/Internal/XEntryIndex.h"
#include "Messaging/XMessage.h"
#include "Messaging/XSpeaker.h"

/// One queue of messages that wait for the main thread, with all that is asked of it found without walking
/// it: the messages that a new one may coalesce with, those of one speaker, those for one listener. Internal
/// to XMessageQueues, whose mutex guards it.
///
/// Entries are allocated in blocks and used again: they are made on one thread and freed on another, which is
/// what a heap does slowest. An empty queue gives back what a flood has taken.
class XDeferredQueue
{
public:
    /// A message, and what it is found by.
    struct XItem
    {
        XSpeaker::XDeferredMessageRecord record;
        XListenerList* speakersList = nullptr; // of the message's speaker; null when it has none
        std::uint64_t keyValue = 0;            // see MakeItem
    };

    struct XEntry : XItem
    {
        XEntry* previous = nullptr; // in the queue
        XEntry* next = nullptr;
        std::uint64_t serial = 0; // counts the entries of the queue as they were queued
        XEntry* previousOfSpeaker = nullptr;
        XEntry* nextOfSpeaker = nullptr;
        XIndexLink<XEntry> keyLink;
        XIndexLink<XEntry> targetLink;
        XDeferredQueue* queue = nullptr; // a notice's: null while it is not queued
        bool isNotice = false;           // belongs to an XDeferredNotice; is found by nothing but its turn
    };

    /// A copy of a message for one listener or, with null, for all of the speaker, which it then names. Needs
    /// no mutex.
    static XItem MakeItem(
        const XMessage& inMessage, XListenerList* inSpeakersList, XListener* inTarget,
        const XSpeaker::XListenerVector& inExclusions );

    XDeferredQueue() = default;
    XDeferredQueue( const XDeferredQueue& ) = delete;
    XDeferredQueue& operator=( const XDeferredQueue& ) = delete;

    USize GetCount() const { return itsCount; }

    /// The serial of the next entry to be queued.
    std::uint64_t GetEnd() const { return itsNextSerial; }

    /// Takes the item over. Where that fails the item and the queue are what they were.
    void PushBack( XItem& ioItem );

    void PushBackNotice( XEntry& inNotice ) noexcept;

    /// Puts an item in the place of one that it is like, at the back, and gives out the other.
    void Replace( XEntry& inEntry, XItem& ioItem ) noexcept;

    /// Takes an item out of the queue.
    XItem Take( XEntry& inEntry ) noexcept;

    /// The same in two steps: the entry belongs to the caller in between.
    void Unlink( XEntry& inEntry ) noexcept;
    void Free( XEntry& inEntry ) noexcept;

    XEntry* GetFirst() const { return itsFirst; }

    /// The entries that a new item may coalesce with, in their order: those for the same listener or all, of
    /// the same speaker and with the same key.
    XEntry* FindFirstLike( const XItem& inItem ) const;
    static XEntry* FindNextLike( const XEntry& inEntry );

    XEntry* FindFirstFor( const XListener& inTarget ) const;

private:
    void Link( XEntry& inEntry ) noexcept;
    void AddToIndexes( XEntry& inEntry ) noexcept;
    void RemoveFromIndexes( XEntry& inEntry ) noexcept;
    static void LinkToSpeaker( XEntry& inEntry );
    static void UnlinkFromSpeaker( XEntry& inEntry );
    void AddFreeEntries();

    // What every message touches lies together: two threads pass it to and fro.
    XEntry* itsFirst = nullptr;
    XEntry* itsLast = nullptr;
    USize itsCount = 0;
    std::uint64_t itsNextSerial = 0;
    XEntry* itsFree = nullptr;
    USize itsUsedCount = 0; // entries that are not free
    XEntryIndex<XEntry, &XEntry::keyLink> itsKeys;

    XEntryIndex<XEntry, &XEntry::targetLink> itsTargets; // of items that have a target
    XVector<std::unique_ptr<XEntry[]>> itsBlocks;
};
