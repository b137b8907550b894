#include "Memory/Internal/XPurgeableBlocks.h"

#include "Memory/XMemoryBlock.h"
#include "Time/WClock.h"

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
