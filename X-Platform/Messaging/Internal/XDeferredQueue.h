#pragma once

#include "Messaging/Internal/XEntryIndex.h"
#include "Messaging/XMessage.h"
#include "Messaging/XSpeaker.h"

/// One queue of messages for the main thread, indexed so that the messages that a new one may coalesce with,
/// those of one speaker and those for one listener are found without scanning it. Internal to XMessageQueues,
/// whose mutex guards it.
///
/// Entries are allocated in blocks and reused, because heaps are slow for objects that are allocated on one
/// thread and freed on another. An empty queue frees the memory of a previous burst.
class XDeferredQueue
{
public:
    /// A message with the keys by which it is found.
    struct XItem
    {
        XSpeaker::XDeferredMessageRecord record;
        XListenerList* speakersList = nullptr; // of the message's speaker; null if it has none
        std::uint64_t keyValue = 0;            // see MakeItem
    };

    struct XEntry : XItem
    {
        XEntry* previous = nullptr; // in the queue
        XEntry* next = nullptr;
        std::uint64_t serial = 0; // number of the entry in the order of queueing
        XEntry* previousOfSpeaker = nullptr;
        XEntry* nextOfSpeaker = nullptr;
        XIndexLink<XEntry> keyLink;
        XIndexLink<XEntry> targetLink;
        XDeferredQueue* queue = nullptr; // for a notice: null while it is not queued
        bool isNotice = false;           // belongs to an XDeferredNotice; not in any index
    };

    /// A copy of a message for one listener or, if `inTarget` is null, for all listeners of the speaker that
    /// the copy then names. Needs no mutex.
    static XItem MakeItem(
        const XMessage& inMessage, XListenerList* inSpeakersList, XListener* inTarget,
        const XSpeaker::XListenerVector& inExclusions );

    XDeferredQueue() = default;
    XDeferredQueue( const XDeferredQueue& ) = delete;
    XDeferredQueue& operator=( const XDeferredQueue& ) = delete;

    USize GetCount() const { return itsCount; }

    /// The serial number of the next entry to be queued.
    std::uint64_t GetEnd() const { return itsNextSerial; }

    /// Takes over the item. On failure neither the item nor the queue changes.
    void PushBack( XItem& ioItem );

    void PushBackNotice( XEntry& inNotice ) noexcept;

    /// Replaces a queued item by one that it coalesces with, moves the entry to the back, and returns the old
    /// item in `ioItem`.
    void Replace( XEntry& inEntry, XItem& ioItem ) noexcept;

    /// Removes an item from the queue and returns it.
    XItem Take( XEntry& inEntry ) noexcept;

    /// Take in two steps: the entry belongs to the caller in between.
    void Unlink( XEntry& inEntry ) noexcept;
    void Free( XEntry& inEntry ) noexcept;

    XEntry* GetFirst() const { return itsFirst; }

    /// The entries that a new item may coalesce with, in order: those with the same target, speaker and key.
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

    // Members used by every message are adjacent, because two threads pass them to and fro.
    XEntry* itsFirst = nullptr;
    XEntry* itsLast = nullptr;
    USize itsCount = 0;
    std::uint64_t itsNextSerial = 0;
    XEntry* itsFree = nullptr;
    USize itsUsedCount = 0; // entries that are not free
    XEntryIndex<XEntry, &XEntry::keyLink> itsKeys;

    XEntryIndex<XEntry, &XEntry::targetLink> itsTargets; // only items that have a target
    XVector<std::unique_ptr<XEntry[]>> itsBlocks;
};
