#pragma once

#include "Ground/XTypes.h"

#include <algorithm>
#include <array>
#include <compare>
#include <set>

class XMemoryBlock;

/// A block's entry in the list of purgeable blocks. The block keeps it while it is off the list, so that
/// adding the block again needs no memory. Internal to the library.
class XPurgeablePlace
{
public:
    explicit XPurgeablePlace( XMemoryBlock& inBlock );

private:
    friend class XPurgeableBlocks;

    /// The time at which a block was last locked.
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

    using XEntries = std::set<XEntry>;
    using XMembers = std::set<XMemoryBlock*>;

    // While the block is on the list, the list owns both nodes.
    XEntries::node_type itsEntry;
    XMembers::node_type itsMember;
    XAge itsAge = {}; // of the entry
};

/// The blocks that are in memory and can be purged, in the order of their last lock. Internal to the library.
///
/// A lock does not update the order and so costs nothing: a block is entered under the last lock known here,
/// and moves to its current place when a search reaches it. A block found locked is set aside until its
/// unlock, which puts it back. A search therefore takes logarithmic time for each lock since the last search,
/// regardless of the number of blocks.
///
/// Threads: one at a time; guarded by the manager's memory mutex.
class XPurgeableBlocks
{
private:
    using XAge = XPurgeablePlace::XAge;
    using XEntry = XPurgeablePlace::XEntry;
    using XEntries = XPurgeablePlace::XEntries;

public:
    /// One pass from the least recently locked block to the most recently locked one.
    class XSearch
    {
    public:
        /// Whether `inTest` holds for one of the threads that held the mutex of a block; 0 stands for a
        /// thread that has just released it. Returns true without testing if there were more threads than are
        /// recorded.
        template<class TTest>
        bool HasBusyThread( TTest inTest ) const
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

    /// Adds a block with its reserved entry; needs no memory.
    void Add( XMemoryBlock& inBlock );
    void Remove( XMemoryBlock& inBlock );
    bool Contains( XMemoryBlock* inBlock ) const { return itsMembers.contains( inBlock ); }
    std::size_t GetCount() const { return itsMembers.size(); }
    XVector<XMemoryBlock*> GetAll() const;

    /// The next block of a search that is not locked; the calling thread then holds its mutex, which keeps
    /// the block alive. Null at the end. Blocks may be added and removed between two calls.
    XMemoryBlock* LockNext( XSearch& ioSearch );

    /// Puts back a block that was set aside. Called under the block's mutex.
    void HasBeenUnlocked( XMemoryBlock& inBlock );

    /// Returns whether `inTest` returns true for any block that is set aside.
    template<class TTest>
    bool IsAnySetAside( TTest inTest ) const
    {
        for ( const XEntry& entry : itsSetAside )
            if ( inTest( *entry.block ) )
                return true;
        return false;
    }

private:
    static XAge GetAge( const XMemoryBlock& inBlock );
    static XEntry GetEntry( XMemoryBlock& inBlock );
    void Move( XEntries& ioFrom, XMemoryBlock& inBlock, XEntries& ioTo );

    XPurgeablePlace::XMembers itsMembers;
    XEntries itsInOrder;
    XEntries itsSetAside;
};
