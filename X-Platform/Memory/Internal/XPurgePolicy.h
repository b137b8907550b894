#pragma once

#include "Ground/XTypes.h"

#include <functional>

class XMemoryBlock;
class XMemoryManager;

/// Selects the blocks to purge in order to free a number of bytes or to open a contiguous range of address
/// space. The blocks must be on the manager's list at construction, and the caller holds its memory mutex,
/// which is released only during purges. Internal to the library.
class XPurgePolicy
{
public:
    /// Purges a block if it is still on the list. Returns the bytes freed, 0 if the purge failed.
    using XPurge = std::function<USize64( XMemoryBlock* )>;

    XPurgePolicy( XMemoryManager& inManager, const XVector<XMemoryBlock*>& inBlocks, XPurge inPurge );

    /// Returns the bytes freed.
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
    XVector<XCandidate> itsCandidates; // oldest first until runs are searched
};
