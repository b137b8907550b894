#include "Messaging/Internal/XDeferredQueue.h"

#include "Messaging/Internal/XListenerList.h"

#include <utility>

// An entry is in up to four structures at once, all intrusive: the queue (doubly linked, in order), the list
// of its speaker (for ForgetSpeaker), and two hash indexes, by coalescing key and by target. Adding may need
// memory for the tables of the indexes or for a block of entries; PushBack obtains all of it before it
// changes anything, and everything after that, moving and removing included, cannot fail.

namespace
{

using XEntry = XDeferredQueue::XEntry;
using XItem = XDeferredQueue::XItem;

constexpr USize kEntriesPerBlock = 64;
constexpr USize kMaxIdleBlocks = 64; // an empty queue keeps no more

std::uint64_t GetAddress( const void* inPointer )
{
    return reinterpret_cast<std::uintptr_t>( inPointer );
}

/// Equal for items with the same target, speaker and key; adjacent keys of one speaker result in adjacent
/// values. `SkipUnlike` separates items whose values are equal by chance.
std::uint64_t GetKeyValue( const XItem& inItem )
{
    // An odd constant with well-mixed bits, so that addresses that differ in few bits give distant values.
    constexpr std::uint64_t kSpread = 0xBF58476D1CE4E5B9u;
    const auto addresses =
        ( GetAddress( inItem.speakersList ) * kSpread ^ GetAddress( inItem.record.target ) ) * kSpread;
    return inItem.record.message->GetCoalesceKey() + ( addresses << 6 );
}

XEntry* SkipUnlike( XEntry* inEntry, const XItem& inItem )
{
    while (
        inEntry &&
        ( inEntry->record.target != inItem.record.target || inEntry->speakersList != inItem.speakersList ) )
        inEntry = XEntryIndex<XEntry, &XEntry::keyLink>::FindNext( *inEntry );
    return inEntry;
}

} // namespace

// ---- Adding and taking

XItem XDeferredQueue::MakeItem(
    const XMessage& inMessage, XListenerList* inSpeakersList, XListener* inTarget,
    const XSpeaker::XListenerVector& inExclusions )
{
    XItem item{ { inTarget, std::unique_ptr<XMessage>( inMessage.Clone() ), inExclusions }, inSpeakersList };
    XAssert( item.record.message );
    if ( !inTarget )
        // A clone does not know who speaks it.
        item.record.message->SetSpeaker( inSpeakersList->GetSpeaker() );
    item.keyValue = GetKeyValue( item );
    return item;
}

void XDeferredQueue::PushBack( XItem& ioItem )
{
    itsKeys.Reserve();
    if ( ioItem.record.target )
        itsTargets.Reserve();
    if ( !itsFree )
        AddFreeEntries();
    XEntry& entry = *itsFree;
    itsFree = entry.next;
    ++itsUsedCount;
    static_cast<XItem&>( entry ) = std::move( ioItem );
    entry.queue = this;
    Link( entry );
}

void XDeferredQueue::PushBackNotice( XEntry& inNotice ) noexcept
{
    inNotice.queue = this;
    Link( inNotice );
}

void XDeferredQueue::Replace( XEntry& inEntry, XItem& ioItem ) noexcept
{
    Unlink( inEntry );
    std::swap( static_cast<XItem&>( inEntry ), ioItem );
    Link( inEntry );
}

XItem XDeferredQueue::Take( XEntry& inEntry ) noexcept
{
    Unlink( inEntry );
    XItem item = std::move( static_cast<XItem&>( inEntry ) );
    Free( inEntry );
    return item;
}

/// At the back.
void XDeferredQueue::Link( XEntry& inEntry ) noexcept
{
    inEntry.previous = itsLast;
    inEntry.next = nullptr;
    // Marks the entries that were in the queue when a delivery began.
    inEntry.serial = itsNextSerial++;
    ( itsLast ? itsLast->next : itsFirst ) = &inEntry;
    itsLast = &inEntry;
    ++itsCount;
    if ( !inEntry.isNotice )
        AddToIndexes( inEntry );
}

void XDeferredQueue::AddToIndexes( XEntry& inEntry ) noexcept
{
    itsKeys.Add( inEntry, inEntry.keyValue );
    if ( inEntry.speakersList )
        LinkToSpeaker( inEntry );
    if ( inEntry.record.target )
        itsTargets.Add( inEntry, GetAddress( inEntry.record.target ) );
}

void XDeferredQueue::Unlink( XEntry& inEntry ) noexcept
{
    ( inEntry.previous ? inEntry.previous->next : itsFirst ) = inEntry.next;
    ( inEntry.next ? inEntry.next->previous : itsLast ) = inEntry.previous;
    --itsCount;
    if ( inEntry.isNotice )
        inEntry.queue = nullptr;
    else
        RemoveFromIndexes( inEntry );
}

void XDeferredQueue::RemoveFromIndexes( XEntry& inEntry ) noexcept
{
    itsKeys.Remove( inEntry );
    if ( inEntry.speakersList )
        UnlinkFromSpeaker( inEntry );
    if ( inEntry.record.target )
        itsTargets.Remove( inEntry );
}

void XDeferredQueue::LinkToSpeaker( XEntry& inEntry )
{
    XEntry*& first = inEntry.speakersList->itsFirstQueued;
    inEntry.previousOfSpeaker = nullptr;
    inEntry.nextOfSpeaker = first;
    if ( first )
        first->previousOfSpeaker = &inEntry;
    first = &inEntry;
}

void XDeferredQueue::UnlinkFromSpeaker( XEntry& inEntry )
{
    XEntry* const previous = inEntry.previousOfSpeaker;
    XEntry* const next = inEntry.nextOfSpeaker;
    ( previous ? previous->nextOfSpeaker : inEntry.speakersList->itsFirstQueued ) = next;
    if ( next )
        next->previousOfSpeaker = previous;
}

// ---- Finding

XEntry* XDeferredQueue::FindFirstLike( const XItem& inItem ) const
{
    return SkipUnlike( itsKeys.FindFirst( inItem.keyValue ), inItem );
}

XEntry* XDeferredQueue::FindNextLike( const XEntry& inEntry )
{
    return SkipUnlike( XEntryIndex<XEntry, &XEntry::keyLink>::FindNext( inEntry ), inEntry );
}

XEntry* XDeferredQueue::FindFirstFor( const XListener& inTarget ) const
{
    return itsTargets.FindFirst( GetAddress( &inTarget ) );
}

// ---- Free entries, linked by `next`

void XDeferredQueue::AddFreeEntries()
{
    auto& block = itsBlocks.emplace_back( std::make_unique<XEntry[]>( kEntriesPerBlock ) );
    for ( USize index = kEntriesPerBlock; index-- > 0; itsFree = &block[index] )
        block[index].next = itsFree;
}

void XDeferredQueue::Free( XEntry& inEntry ) noexcept
{
    inEntry.next = itsFree;
    itsFree = &inEntry;
    // Blocks are freed only all at once: entries of one block are spread over the queue, and counting them
    // would cost each message.
    if ( --itsUsedCount > 0 || itsBlocks.size() <= kMaxIdleBlocks )
        return;
    itsFree = nullptr;
    itsBlocks.clear();
    itsKeys.ReleaseTable();
    itsTargets.ReleaseTable();
}
