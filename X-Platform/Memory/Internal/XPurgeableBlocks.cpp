#include "Memory/Internal/XPurgeableBlocks.h"

#include "Memory/XMemoryBlock.h"
#include "Time/WClock.h"

// Two ordered sets of the same entries, (age, block): itsInOrder is what a search walks, itsSetAside holds
// blocks that a search has found locked. An entry has the age of the last lock known here, or of the addition
// to the list. Locks only make blocks younger, so the first entry that is not older than its block belongs to
// the least recently locked block: all entries behind it have greater ages. An outdated entry is moved to its
// true place when the walk meets it, at O(log n) for each such lock.
//
// A search remembers the last entry it has seen by value and continues with the next greater one. So blocks
// may come, go and move between two steps, and a block that is moved behind that point is met again.
//
// Entries travel between the sets and the block as nodes, so that nothing here allocates or fails.

/// A node can only be made in a container.
XPurgeablePlace::XPurgeablePlace( XMemoryBlock& inBlock )
{
    XEntries entries = { XEntry{ {}, &inBlock } };
    itsEntry = entries.extract( entries.begin() );
    XMembers members = { &inBlock };
    itsMember = members.extract( members.begin() );
}

/// The lock for which it comes is not noted yet. With the age of the lock before, all new blocks would have to change
/// their places in one search.
void XPurgeableBlocks::Add( XMemoryBlock& inBlock )
{
    XPurgeablePlace& place = *inBlock.itsPlace;
    if ( !place.itsMember )
        return;
    place.itsAge = place.itsEntry.value().age = { WClock::GetCoarseTicks(), 0 };
    itsMembers.insert( std::move( place.itsMember ) );
    itsInOrder.insert( std::move( place.itsEntry ) );
}

void XPurgeableBlocks::Remove( XMemoryBlock& inBlock )
{
    if ( !Contains( &inBlock ) )
        return;
    XPurgeablePlace& place = *inBlock.itsPlace;
    place.itsMember = itsMembers.extract( &inBlock );
    XEntries& entries = inBlock.itsIsSetAside ? itsSetAside : itsInOrder;
    place.itsEntry = entries.extract( GetEntry( inBlock ) );
    inBlock.SetAside( false );
}

XVector<XMemoryBlock*> XPurgeableBlocks::GetAll() const
{
    XVector<XMemoryBlock*> blocks;
    blocks.assign( itsMembers.begin(), itsMembers.end() );
    return blocks;
}

void XPurgeableBlocks::XSearch::NoteBusy( const XMemoryBlock& inBlock )
{
    if ( itsBusyCount < itsBusyThreads.size() )
        itsBusyThreads[itsBusyCount] = inBlock.GetMutex().GetOwner();
    ++itsBusyCount;
}

/// The lock count of a block is reliable only under its mutex.
XMemoryBlock* XPurgeableBlocks::LockNext( XSearch& ioSearch )
{
    for ( ;; )
    {
        const auto next = itsInOrder.upper_bound( ioSearch.itsLast );
        if ( next == itsInOrder.end() )
            return nullptr;
        const XEntry entry = *next;
        ioSearch.itsLast = entry;
        XMemoryBlock& block = *entry.block;
        // Waiting for it would be against the order of locks: its holder may be waiting for the memory mutex.
        if ( !block.GetMutex().TryLock() )
        {
            ioSearch.NoteBusy( block );
            continue;
        }
        if ( block.SettleLockCount() > 0 )
        {
            Move( itsInOrder, block, itsSetAside );
            block.SetAside( true );
        }
        else if ( entry.age < GetAge( block ) )
            Move( itsInOrder, block, itsInOrder );
        else
            return &block;
        block.GetMutex().Unlock();
    }
}

void XPurgeableBlocks::HasBeenUnlocked( XMemoryBlock& inBlock )
{
    if ( Contains( &inBlock ) )
        Move( itsSetAside, inBlock, itsInOrder );
    inBlock.SetAside( false );
}

XPurgeableBlocks::XAge XPurgeableBlocks::GetAge( const XMemoryBlock& inBlock )
{
    return { inBlock.GetLastLockTime(), inBlock.GetLastLockNumber() };
}

XPurgeableBlocks::XEntry XPurgeableBlocks::GetEntry( XMemoryBlock& inBlock )
{
    return { inBlock.itsPlace->itsAge, &inBlock };
}

/// To the place of the block's last lock. Takes no memory.
void XPurgeableBlocks::Move( XEntries& ioFrom, XMemoryBlock& inBlock, XEntries& ioTo )
{
    auto node = ioFrom.extract( GetEntry( inBlock ) );
    node.value().age = inBlock.itsPlace->itsAge = GetAge( inBlock );
    ioTo.insert( std::move( node ) );
}
