#pragma once

#include "Ground/Internal/XHashMix.h"
#include "Ground/XFail.h"
#include "Ground/XTypes.h"

/// The links of an entry in one XEntryIndex. Internal.
template<class TEntry>
struct XIndexLink
{
    TEntry* previous = nullptr;
    TEntry* next = nullptr;
    std::uint64_t value = 0;
};

/// An index of entries by a 64-bit value; entries with equal values keep the order in which they were added.
/// The links are in the member `kLink` of the entries, so only the table is allocated. Internal.
template<class TEntry, XIndexLink<TEntry> TEntry::*kLink>
class XEntryIndex
{
public:
    /// Makes room for one more entry. Call it before each `Add`, unless a `Remove` has made room.
    void Reserve()
    {
        if ( itsCount >= itsChains.size() )
            Resize( itsChains.empty() ? kMinChains : itsChains.size() * 2 );
    }

    void Add( TEntry& inEntry, std::uint64_t inValue )
    {
        ( inEntry.*kLink ).value = inValue;
        Append( inEntry );
        ++itsCount;
    }

    void Remove( TEntry& inEntry )
    {
        XIndexLink<TEntry>& link = inEntry.*kLink;
        XChain& chain = FindChain( link.value );
        ( link.previous ? ( link.previous->*kLink ).next : chain.first ) = link.next;
        ( link.next ? ( link.next->*kLink ).previous : chain.last ) = link.previous;
        --itsCount;
    }

    /// Frees the table of an empty index.
    void ReleaseTable()
    {
        XAssert( itsCount == 0 );
        itsChains = XVector<XChain>();
    }

    /// The first entry added with a value, and the next one after it; null if there is none.
    TEntry* FindFirst( std::uint64_t inValue ) const
    {
        if ( itsCount == 0 )
            return nullptr;
        return FindFrom( FindChain( inValue ).first, inValue );
    }
    static TEntry* FindNext( const TEntry& inEntry )
    {
        const XIndexLink<TEntry>& link = inEntry.*kLink;
        return FindFrom( link.next, link.value );
    }

private:
    struct XChain
    {
        TEntry* first = nullptr;
        TEntry* last = nullptr;
    };

    static constexpr USize kMinChains = 64;

    /// Adjacent values have adjacent chains, so that messages with consecutive numbers stay in the cache; the
    /// bits above the low ones are hashed.
    USize FindChainIndex( std::uint64_t inValue ) const
    {
        constexpr unsigned kNearBits = 6;
        const std::uint64_t start = ( ( inValue >> kNearBits ) * kXHashFactor ) >> itsShift;
        return ( start + ( inValue & ( ( 1u << kNearBits ) - 1 ) ) ) & ( itsChains.size() - 1 );
    }
    const XChain& FindChain( std::uint64_t inValue ) const { return itsChains[FindChainIndex( inValue )]; }
    XChain& FindChain( std::uint64_t inValue ) { return itsChains[FindChainIndex( inValue )]; }

    static TEntry* FindFrom( TEntry* inEntry, std::uint64_t inValue )
    {
        while ( inEntry && ( inEntry->*kLink ).value != inValue )
            inEntry = ( inEntry->*kLink ).next;
        return inEntry;
    }

    void Append( TEntry& inEntry )
    {
        XIndexLink<TEntry>& link = inEntry.*kLink;
        XChain& chain = FindChain( link.value );
        link.previous = chain.last;
        link.next = nullptr;
        ( chain.last ? ( chain.last->*kLink ).next : chain.first ) = &inEntry;
        chain.last = &inEntry;
    }

    /// The number of chains must be a power of two. Entries with equal values stay in one chain and keep
    /// their order.
    void Resize( USize inCount )
    {
        XVector<XChain> chains( inCount );
        chains.swap( itsChains );
        for ( itsShift = 64; inCount > 1; inCount /= 2 )
            --itsShift;
        for ( const XChain& chain : chains )
            for ( TEntry* entry = chain.first; entry; )
            {
                TEntry* const next = ( entry->*kLink ).next;
                Append( *entry );
                entry = next;
            }
    }

    XVector<XChain> itsChains; // empty, or a power of two
    USize itsCount = 0;
    unsigned itsShift = 64; // 64 minus the number of bits of a chain number
};
