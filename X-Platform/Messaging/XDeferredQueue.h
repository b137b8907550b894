#pragma once

#include "Messaging/XEntryIndex.h"
#include "Messaging/XMessage.h"
#include "Messaging/XSpeaker.h"

/// One queue of messages that wait for the main thread, with all that is asked of it found without walking it: the
/// messages that a new one may coalesce with, those of one speaker, those for one listener. Internal to XMessageQueues,
/// whose mutex guards it.
class XDeferredQueue
{
public:
    using XRecord = XSpeaker::XDeferredMessageRecord;

    struct XEntry
    {
        XRecord record;
        XListenerList* speakersList = nullptr; // of the message's speaker; null when it has none
        XDeferredQueue* queue = nullptr;
        XEntry* previous = nullptr; // in the queue
        XEntry* next = nullptr;
        XEntry* previousOfSpeaker = nullptr;
        XEntry* nextOfSpeaker = nullptr;
        XIndexLink<XEntry> keyLink;
        XIndexLink<XEntry> targetLink;
    };
    using XEntryPtr = std::unique_ptr<XEntry>;

    XDeferredQueue() = default;
    XDeferredQueue( const XDeferredQueue& ) = delete;
    XDeferredQueue& operator=( const XDeferredQueue& ) = delete;
    ~XDeferredQueue();

    USize GetCount() const { return itsCount; }

    /// Does everything that may fail for the next `PushBack`.
    void Reserve();
    void PushBack( XEntryPtr inEntry );

    /// Takes an entry out; `TakeFront` the first one, of which there has to be one.
    XEntryPtr Take( XEntry& inEntry );
    XEntryPtr TakeFront() { return Take( *itsFirst ); }

    XEntry* GetFirst() const { return itsFirst; }

    /// The entries that a new one may coalesce with, in their order: those for the same listener or all, of the same
    /// speaker and with the same key.
    XEntry* FindFirstLike( const XEntry& inNewEntry ) const;
    static XEntry* FindNextLike( const XEntry& inEntry );

    XEntry* FindFirstFor( const XListener& inTarget ) const;

private:
    static void LinkToSpeaker( XEntry& inEntry );
    static void UnlinkFromSpeaker( XEntry& inEntry );

    XEntry* itsFirst = nullptr;
    XEntry* itsLast = nullptr;
    USize itsCount = 0;
    XEntryIndex<XEntry, &XEntry::keyLink> itsKeys;
    XEntryIndex<XEntry, &XEntry::targetLink> itsTargets; // of records that have a target
};
