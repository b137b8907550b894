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
        XEntry* previous = nullptr;
        XEntry* next = nullptr;
        XIndexLink<XEntry> keyLink;
        XIndexLink<XEntry> speakerLink;
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

    /// The entries in their order, and those among which a new message for `inTarget` (null: all listeners) looks for
    /// its like.
    XEntry* GetFirst() const { return itsFirst; }
    XEntry* FindFirstLike( const XMessage& inMessage, const XListener* inTarget ) const;
    XEntry* FindNextLike( const XEntry& inEntry ) const;

    XEntry* FindFirstOf( const XSpeaker& inSpeaker ) const;
    XEntry* FindFirstFor( const XListener& inTarget ) const;

private:
    XEntry* itsFirst = nullptr;
    XEntry* itsLast = nullptr;
    USize itsCount = 0;
    XEntryIndex<XEntry, &XEntry::keyLink> itsKeys;
    XEntryIndex<XEntry, &XEntry::speakerLink> itsSpeakers;
    XEntryIndex<XEntry, &XEntry::targetLink> itsTargets; // of records that have a target
};
