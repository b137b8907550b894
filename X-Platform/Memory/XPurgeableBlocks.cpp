#include "Memory/XPurgeableBlocks.h"

#include "Memory/XMemoryBlock.h"
#include "WClock.h"

/// The lock for which it comes is not noted yet. With the age of the lock before, all new blocks would have to change their
/// places in one search.
void XPurgeableBlocks::Add( XMemoryBlock& inBlock )
{
    const XAge age = { WClock::GetCoarseTicks(), 0 };
    const auto [place, isNew] = itsAges.emplace( &inBlock, age );
    if ( !isNew )
        return;
    try
    {
        itsInOrder.insert( { age, &inBlock } );
    }
    catch ( ... )
    {
        itsAges.erase( place );
        throw;
    }
}

void XPurgeableBlocks::Remove( XMemoryBlock& inBlock )
{
    const auto place = itsAges.find( &inBlock );
    if ( place == itsAges.end() )
        return;
    const XEntry entry = { place->second, &inBlock };
    itsAges.erase( place );
    if ( itsInOrder.erase( entry ) > 0 )
        return;
    itsSetAside.erase( entry );
    inBlock.SetAside( false );
}

XVector<XMemoryBlock*> XPurgeableBlocks::GetAll() const
{
    XVector<XMemoryBlock*> blocks;
    blocks.reserve( itsAges.size() );
    for ( const auto& [block, age] : itsAges )
        blocks.push_back( block );
    return blocks;
}

void XPurgeableBlocks::XSearch::NoteBusy( const XMemoryBlock& inBlock )
{
    if ( itsBusyCount < itsBusyThreads.size() )
        itsBusyThreads[itsBusyCount] = inBlock.IsProbablyLocked() ? inBlock.GetLastLockThread() : 0;
    ++itsBusyCount;
}

/// What the block tells about its locks holds under its mutex only.
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
        if ( block.GetLockCount() > 0 )
        {
            Move( itsInOrder, entry, itsSetAside );
            block.SetAside( true );
        }
        else if ( entry.age < GetAge( block ) )
            Move( itsInOrder, entry, itsInOrder );
        else
            return &block;
        block.GetMutex().Unlock();
    }
}

void XPurgeableBlocks::HasBeenUnlocked( XMemoryBlock& inBlock )
{
    if ( const auto place = itsAges.find( &inBlock ); place != itsAges.end() )
        Move( itsSetAside, { place->second, &inBlock }, itsInOrder );
    inBlock.SetAside( false );
}

XPurgeableBlocks::XAge XPurgeableBlocks::GetAge( const XMemoryBlock& inBlock )
{
    return { inBlock.GetLastLockTime(), inBlock.GetLastLockNumber() };
}

/// To the place of the block's last lock. Takes no memory.
void XPurgeableBlocks::Move( XEntries& ioFrom, const XEntry& inEntry, XEntries& ioTo )
{
    auto node = ioFrom.extract( inEntry );
    node.value().age = itsAges.find( inEntry.block )->second = GetAge( *inEntry.block );
    ioTo.insert( std::move( node ) );
}
