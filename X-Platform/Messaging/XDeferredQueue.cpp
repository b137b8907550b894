#include "Messaging/XDeferredQueue.h"

#include "Messaging/XListenerList.h"

namespace
{

using XEntry = XDeferredQueue::XEntry;

std::uint64_t GetAddress( const void* inPointer )
{
    return reinterpret_cast<std::uintptr_t>( inPointer );
}

/// Equal for entries that are alike, and next to each other for one speaker's messages with keys next to each other;
/// `SkipUnlike` tells apart what it makes equal by chance.
std::uint64_t GetKeyValue( const XEntry& inEntry )
{
    constexpr std::uint64_t kSpread = 0xBF58476D1CE4E5B9u;
    const auto addresses =
        ( GetAddress( inEntry.speakersList ) * kSpread ^ GetAddress( inEntry.record.target ) ) * kSpread;
    return inEntry.record.message->GetCoalesceKey() + ( addresses << 6 );
}

XEntry* SkipUnlike( XEntry* inEntry, const XEntry& inNewEntry )
{
    while ( inEntry &&
            ( inEntry->record.target != inNewEntry.record.target ||
              inEntry->speakersList != inNewEntry.speakersList ) )
        inEntry = XEntryIndex<XEntry, &XEntry::keyLink>::FindNext( *inEntry );
    return inEntry;
}

} // namespace

XDeferredQueue::~XDeferredQueue()
{
    while ( itsFirst )
        TakeFront();
}

void XDeferredQueue::Reserve()
{
    itsKeys.Reserve();
    itsTargets.Reserve();
}

void XDeferredQueue::PushBack( XEntryPtr inEntry )
{
    XEntry* const entry = inEntry.release();
    entry->queue = this;
    entry->previous = itsLast;
    ( itsLast ? itsLast->next : itsFirst ) = entry;
    itsLast = entry;
    ++itsCount;
    itsKeys.Add( *entry, GetKeyValue( *entry ) );
    if ( entry->speakersList )
        LinkToSpeaker( *entry );
    if ( entry->record.target )
        itsTargets.Add( *entry, GetAddress( entry->record.target ) );
}

XDeferredQueue::XEntryPtr XDeferredQueue::Take( XEntry& inEntry )
{
    ( inEntry.previous ? inEntry.previous->next : itsFirst ) = inEntry.next;
    ( inEntry.next ? inEntry.next->previous : itsLast ) = inEntry.previous;
    --itsCount;
    itsKeys.Remove( inEntry );
    if ( inEntry.speakersList )
        UnlinkFromSpeaker( inEntry );
    if ( inEntry.record.target )
        itsTargets.Remove( inEntry );
    return XEntryPtr( &inEntry );
}

void XDeferredQueue::LinkToSpeaker( XEntry& inEntry )
{
    XEntry*& first = inEntry.speakersList->itsFirstQueued;
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

XEntry* XDeferredQueue::FindFirstLike( const XEntry& inNewEntry ) const
{
    return SkipUnlike( itsKeys.FindFirst( GetKeyValue( inNewEntry ) ), inNewEntry );
}

XEntry* XDeferredQueue::FindNextLike( const XEntry& inEntry )
{
    return SkipUnlike( XEntryIndex<XEntry, &XEntry::keyLink>::FindNext( inEntry ), inEntry );
}

XEntry* XDeferredQueue::FindFirstFor( const XListener& inTarget ) const
{
    return itsTargets.FindFirst( GetAddress( &inTarget ) );
}
