#pragma once

#include "Core/XTypes.h"

#include <algorithm>
#include <array>
#include <compare>
#include <set>
#include <unordered_map>

class XMemoryBlock;

/// The blocks that are in memory and can be purged, in the order of their last lock. Internal to the library.
///
/// A lock does not touch the order, so that it costs nothing: a block has the place of the last lock that is known here,
/// and moves to its present place when its turn comes. A block that is found locked is set aside until its unlock, which
/// puts it back. So a search costs the logarithm of the number of blocks for each lock since the last one, however many
/// blocks there are.
///
/// Threads: one at a time; the manager's memory mutex guards it.
class XPurgeableBlocks
{
private:
    /// When a block was locked last.
    struct XAge
    {
        std::int64_t time;
        std::uint64_t number;

        auto operator<=>( const XAge& ) const = default;
    };

    struct XEntry
    {
        XAge age;
        XMemoryBlock* block;

        auto operator<=>( const XEntry& ) const = default;
    };

public:
    /// One walk from the block locked longest ago to the last one.
    class XSearch
    {
    public:
        /// Whether a test holds for a thread that one of the blocks has locked whose mutex another thread held; 0 stands
        /// for that of a block which nobody had locked. Taken for granted where there are many.
        template<class Test>
        bool HasBusyThread( Test inTest ) const
        {
            return itsBusyCount > itsBusyThreads.size() ||
                std::any_of( itsBusyThreads.begin(), itsBusyThreads.begin() + itsBusyCount, inTest );
        }

    private:
        friend class XPurgeableBlocks;
        void NoteBusy( const XMemoryBlock& inBlock );

        XEntry itsLast = {};
        std::uint32_t itsBusyCount = 0;
        std::array<std::uint32_t, 16> itsBusyThreads;
    };

    void Add( XMemoryBlock& inBlock );
    void Remove( XMemoryBlock& inBlock );
    bool Contains( XMemoryBlock* inBlock ) const { return itsAges.contains( inBlock ); }
    std::size_t GetCount() const { return itsAges.size(); }
    XVector<XMemoryBlock*> GetAll() const;

    /// The next block of a search that nobody has locked; the calling thread has its mutex then, which keeps the block
    /// alive. Null at the end. Blocks may be added and removed between two calls.
    XMemoryBlock* LockNext( XSearch& ioSearch );

    /// Puts a block back that was set aside. Under the block's mutex.
    void HasBeenUnlocked( XMemoryBlock& inBlock );

    /// Calls a function for each block that is set aside until that returns true. Returns whether it did.
    template<class Test>
    bool IsAnySetAside( Test inTest ) const
    {
        for ( const XEntry& entry : itsSetAside )
            if ( inTest( *entry.block ) )
                return true;
        return false;
    }

private:
    using XEntries = std::set<XEntry>;

    static XAge GetAge( const XMemoryBlock& inBlock );
    void Move( XEntries& ioFrom, const XEntry& inEntry, XEntries& ioTo );

    std::unordered_map<XMemoryBlock*, XAge> itsAges; // of the entries
    XEntries itsInOrder;
    XEntries itsSetAside;
};
