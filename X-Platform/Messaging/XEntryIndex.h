#pragma once

#include "Core/XTypes.h"

/// Where an entry stands in one XEntryIndex. Internal.
template<class Entry>
struct XIndexLink
{
    Entry* previous = nullptr;
    Entry* next = nullptr;
    std::uint64_t hash = 0;
};

/// Entries by a 64-bit value, those with equal values in the order in which they were added. The links lie in the
/// entries, in the member `kLink`, so that adding and removing allocate nothing but the table. Internal.
template<class Entry, XIndexLink<Entry> Entry::*kLink>
class XEntryIndex
{
public:
    /// Makes sure that the next `Add` does not fail.
    void Reserve()
    {
        if ( itsCount >= itsChains.size() )
            Resize( itsChains.empty() ? kMinChains : itsChains.size() * 2 );
    }

    void Add( Entry& inEntry, std::uint64_t inValue )
    {
        ( inEntry.*kLink ).hash = Mix( inValue );
        Append( inEntry );
        ++itsCount;
    }

    void Remove( Entry& inEntry )
    {
        XIndexLink<Entry>& link = inEntry.*kLink;
        XChain& chain = FindChain( link.hash );
        ( link.previous ? ( link.previous->*kLink ).next : chain.first ) = link.next;
        ( link.next ? ( link.next->*kLink ).previous : chain.last ) = link.previous;
        if ( --itsCount == 0 && itsChains.size() > kMaxIdleChains )
            itsChains = {};
    }

    /// The first entry added with a value, and the next one after it; null when there is none.
    Entry* FindFirst( std::uint64_t inValue ) const
    {
        if ( itsCount == 0 )
            return nullptr;
        const std::uint64_t hash = Mix( inValue );
        return FindFrom( FindChain( hash ).first, hash );
    }
    static Entry* FindNext( const Entry& inEntry )
    {
        const XIndexLink<Entry>& link = inEntry.*kLink;
        return FindFrom( link.next, link.hash );
    }

private:
    struct XChain
    {
        Entry* first = nullptr;
        Entry* last = nullptr;
    };

    static constexpr USize kMinChains = 64;
    static constexpr USize kMaxIdleChains = 4096; // an empty index keeps no more: floods pass

    /// Odd, so that different values stay different; the upper bits depend on all bits of the value.
    static std::uint64_t Mix( std::uint64_t inValue ) { return inValue * 0x9E3779B97F4A7C15u; }

    const XChain& FindChain( std::uint64_t inHash ) const { return itsChains[inHash >> itsShift]; }
    XChain& FindChain( std::uint64_t inHash ) { return itsChains[inHash >> itsShift]; }

    static Entry* FindFrom( Entry* inEntry, std::uint64_t inHash )
    {
        while ( inEntry && ( inEntry->*kLink ).hash != inHash )
            inEntry = ( inEntry->*kLink ).next;
        return inEntry;
    }

    void Append( Entry& inEntry )
    {
        XIndexLink<Entry>& link = inEntry.*kLink;
        XChain& chain = FindChain( link.hash );
        link.previous = chain.last;
        link.next = nullptr;
        ( chain.last ? ( chain.last->*kLink ).next : chain.first ) = &inEntry;
        chain.last = &inEntry;
    }

    /// To a power of two. Entries with equal values share a chain before and after, and keep their order.
    void Resize( USize inCount )
    {
        XVector<XChain> chains( inCount );
        chains.swap( itsChains );
        for ( itsShift = 64; inCount > 1; inCount /= 2 )
            --itsShift;
        for ( const XChain& chain : chains )
            for ( Entry* entry = chain.first; entry; )
            {
                Entry* const next = ( entry->*kLink ).next;
                Append( *entry );
                entry = next;
            }
    }

    XVector<XChain> itsChains; // 0, or a power of two, of which the hash's upper bits select one
    USize itsCount = 0;
    unsigned itsShift = 64;
};
