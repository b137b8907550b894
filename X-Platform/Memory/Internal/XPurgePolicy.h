#pragma once

#include "Ground/XTypes.h"

#include <functional>

class XMemoryBlock;
class XMemoryManager;

/// Chooses the blocks whose purge frees memory, or opens a stretch of address space, of a size. The blocks are on the
/// manager's list when they are handed over, and its memory mutex is held but for the purges. Internal to the library.
class XPurgePolicy
{
public:
    /// Purges a block if it still is on the list; returns the bytes that were freed, 0 if it was refused.
    using XPurge = std::function<USize64( XMemoryBlock* )>;

    XPurgePolicy( XMemoryManager& inManager, const XVector<XMemoryBlock*>& inBlocks, XPurge inPurge );

    /// Returns the bytes that were freed.
    USize64 Free( USize64 inBytes );

private:
    struct XCandidate
    {
        XMemoryBlock* block;
        std::uint64_t address;
        USize64 size;

        std::uint64_t GetEnd() const { return address + size; }
    };

    static void SortByAge( XVector<XMemoryBlock*>& ioBlocks );
    USize64 PurgeOneBlock( USize64 inBytes );
    USize64 PurgeRun( USize64 inBytes );
    bool Serves( const XCandidate& inCandidate, USize64 inBytes );

    XMemoryManager& itsManager;
    XPurge itsPurge;
    XVector<XCandidate> itsCandidates; // oldest first until the runs are looked for
};
