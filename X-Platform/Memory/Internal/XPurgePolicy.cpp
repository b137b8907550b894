#include "Memory/Internal/XPurgePolicy.h"

#include "Memory/XMemoryBlock.h"
#include "Memory/XMemoryManager.h"

#include <algorithm>

// Which block to give up for `inBytes` of contiguous address space or memory. First choice: the least
// recently locked block that is large enough by itself or together with the free space beside it. Second
// choice: in the order of addresses, the first run of neighbours that together with the gaps at its ends is
// large enough; all blocks of the run are purged. The first takes one or two queries of the address space for
// each block that is too small, the second a sort and two queries for each block.

/// Locked blocks cannot be purged; neither do they count as part of a stretch that could be opened.
XPurgePolicy::XPurgePolicy(
    XMemoryManager& inManager, const XVector<XMemoryBlock*>& inBlocks, XPurge inPurge )
    : itsManager( inManager ), itsPurge( std::move( inPurge ) )
{
    XVector<XMemoryBlock*> blocks = inBlocks;
    std::erase_if( blocks, []( const XMemoryBlock* inBlock ) { return inBlock->IsProbablyLocked(); } );
    SortByAge( blocks );
    itsCandidates.reserve( blocks.size() );
    for ( XMemoryBlock* block : blocks )
        itsCandidates.push_back( { block, block->GetTrueAddress(), block->GetTrueSize() } );
}

/// Oldest first.
void XPurgePolicy::SortByAge( XVector<XMemoryBlock*>& ioBlocks )
{
    struct XAge
    {
        std::int64_t time;
        std::uint64_t number;
        XMemoryBlock* block;
    };
    // Read once: another thread may lock a block while they are compared.
    XVector<XAge> ages;
    ages.reserve( ioBlocks.size() );
    for ( XMemoryBlock* block : ioBlocks )
        ages.push_back( { block->GetLastLockTime(), block->GetLastLockNumber(), block } );
    std::ranges::sort(
        ages,
        []( const XAge& a, const XAge& b )
        { return a.time != b.time ? a.time < b.time : a.number < b.number; } );
    std::ranges::transform( ages, ioBlocks.begin(), &XAge::block );
}

USize64 XPurgePolicy::Free( USize64 inBytes )
{
    const USize64 freed = PurgeOneBlock( inBytes );
    return freed > 0 ? freed : PurgeRun( inBytes );
}

USize64 XPurgePolicy::PurgeOneBlock( USize64 inBytes )
{
    for ( const XCandidate& candidate : itsCandidates )
    {
        const USize64 freed = Serves( candidate, inBytes ) ? itsPurge( candidate.block ) : 0;
        if ( freed > 0 )
            return freed;
    }
    return 0;
}

/// Queries the free space beside a block only if it is needed.
bool XPurgePolicy::Serves( const XCandidate& inCandidate, USize64 inBytes )
{
    USize64 hole = inCandidate.size;
    if ( hole >= inBytes )
        return true;
    hole += itsManager.GetFreeSpaceAfterAddr( inCandidate.GetEnd() );
    if ( hole >= inBytes )
        return true;
    return hole + itsManager.GetFreeSpaceBeforeAddr( inCandidate.address ) >= inBytes;
}

USize64 XPurgePolicy::PurgeRun( USize64 inBytes )
{
    std::ranges::sort( itsCandidates, {}, &XCandidate::address );
    std::size_t first = 0;
    USize64 total = 0;
    for ( std::size_t i = 0; i < itsCandidates.size(); ++i )
    {
        const XCandidate& candidate = itsCandidates[i];
        if ( i == 0 || candidate.address != itsCandidates[i - 1].GetEnd() )
        {
            first = i;
            total = itsManager.GetFreeSpaceBeforeAddr( candidate.address );
        }
        total += candidate.size + itsManager.GetFreeSpaceAfterAddr( candidate.GetEnd() );
        if ( total < inBytes )
            continue;
        USize64 freed = 0;
        for ( std::size_t k = first; k <= i; ++k )
            freed += itsPurge( itsCandidates[k].block );
        return freed;
    }
    return 0;
}
