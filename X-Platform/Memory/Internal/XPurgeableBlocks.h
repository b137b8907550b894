#pragma once

#include "Ground/XTypes.h"

#include <algorithm>
#include <array>
#include <compare>
#include <set>

class XMemoryBlock;

/// A block's place on the list of purgeable blocks, which the block keeps when it is off the list: to be put on the list
/// again takes no memory. Internal to the library.
class XPurgeablePlace
{
public:
    explicit XPurgeablePlace( XMemoryBlock& inBlock );

private:
    friend class XPurgeableBlocks;

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

    using XEntries = std::set<XEntry>;
    using XMembers = std::set<XMemoryBlock*>;

    // While the block is on the list both are there.
    XEntries::node_type itsEntry;
    XMembers::node_type itsMember;
    XAge itsAge = {}; // of the entry
};

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
    using XAge = XPurgeablePlace::XAge;
    using XEntry = XPurgeablePlace::XEntry;
    using XEntries = XPurgeablePlace::XEntries;

public:
    /// One walk from the block locked longest ago to the last one.
    class XSearch
    {
    public:
        /// Whether a test holds for one of the threads that held the mutex of a block; 0 stands for one that has just
        /// given it up. Taken for granted where there are many.
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

    /// Takes no memory: the block has its place.
    void Add( XMemoryBlock& inBlock );
    void Remove( XMemoryBlock& inBlock );
    bool Contains( XMemoryBlock* inBlock ) const { return itsMembers.contains( inBlock ); }
    std::size_t GetCount() const { return itsMembers.size(); }
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
    static XAge GetAge( const XMemoryBlock& inBlock );
    static XEntry GetEntry( XMemoryBlock& inBlock );
    void Move( XEntries& ioFrom, XMemoryBlock& inBlock, XEntries& ioTo );

    XPurgeablePlace::XMembers itsMembers;
    XEntries itsInOrder;
    XEntries itsSetAside;
};
