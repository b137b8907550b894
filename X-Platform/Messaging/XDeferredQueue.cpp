#include "Messaging/XDeferredQueue.h"

namespace
{

std::uint64_t GetHash( const void* inPointer )
{
    return reinterpret_cast<std::uintptr_t>( inPointer );
}

/// Messages that may coalesce have the same value; others with it are told apart by `IsLike`.
std::uint64_t GetKeyHash( const XMessage& inMessage, const XListener* inTarget )
{
    constexpr std::uint64_t kSpread = 0xBF58476D1CE4E5B9u;
    return ( inMessage.GetCoalesceKey() * kSpread ^ GetHash( inMessage.GetSpeaker() ) ) * kSpread ^
        GetHash( inTarget );
}

using XEntry = XDeferredQueue::XEntry;

XEntry* SkipUnlike( XEntry* inEntry, const XSpeaker* inSpeaker, const XListener* inTarget )
{
    while ( inEntry &&
            ( inEntry->record.target != inTarget || inEntry->record.message->GetSpeaker() != inSpeaker ) )
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
    itsSpeakers.Reserve();
    itsTargets.Reserve();
}

void XDeferredQueue::PushBack( XEntryPtr inEntry )
{
    XEntry* const entry = inEntry.release();
    const XRecord& record = entry->record;
    entry->previous = itsLast;
    ( itsLast ? itsLast->next : itsFirst ) = entry;
    itsLast = entry;
    ++itsCount;
    itsKeys.Add( *entry, GetKeyHash( *record.message, record.target ) );
    itsSpeakers.Add( *entry, GetHash( record.message->GetSpeaker() ) );
    if ( record.target )
        itsTargets.Add( *entry, GetHash( record.target ) );
}

XDeferredQueue::XEntryPtr XDeferredQueue::Take( XEntry& inEntry )
{
    ( inEntry.previous ? inEntry.previous->next : itsFirst ) = inEntry.next;
    ( inEntry.next ? inEntry.next->previous : itsLast ) = inEntry.previous;
    --itsCount;
    itsKeys.Remove( inEntry );
    itsSpeakers.Remove( inEntry );
    if ( inEntry.record.target )
        itsTargets.Remove( inEntry );
    return XEntryPtr( &inEntry );
}

XEntry* XDeferredQueue::FindFirstLike( const XMessage& inMessage, const XListener* inTarget ) const
{
    return SkipUnlike(
        itsKeys.FindFirst( GetKeyHash( inMessage, inTarget ) ), inMessage.GetSpeaker(), inTarget );
}

XEntry* XDeferredQueue::FindNextLike( const XEntry& inEntry ) const
{
    return SkipUnlike(
        itsKeys.FindNext( inEntry ), inEntry.record.message->GetSpeaker(), inEntry.record.target );
}

XEntry* XDeferredQueue::FindFirstOf( const XSpeaker& inSpeaker ) const
{
    return itsSpeakers.FindFirst( GetHash( &inSpeaker ) );
}

XEntry* XDeferredQueue::FindFirstFor( const XListener& inTarget ) const
{
    return itsTargets.FindFirst( GetHash( &inTarget ) );
}
