#pragma once

#include "Ground/XTypes.h"

#include <algorithm>
#include <memory>
#include <unordered_map>

/// The indices of the entries of a vector, by the object that each entry points to. Null for short vectors,
/// where a search is as fast, and if there was no memory for the map. Internal.
template<class TKey>
using XPlacesOf = std::unique_ptr<std::unordered_map<const TKey*, USize>>;

constexpr USize kMostSearched = 32;

/// The entry that points to `inWanted`, or null. The newest entries are searched first, because they tend to
/// be removed first.
template<class TEntry, class TKey>
TEntry* XFindEntry(
    XVector<TEntry>& ioEntries, TKey* TEntry::*inKey, const XPlacesOf<TKey>& inPlaces, const TKey& inWanted )
{
    if ( inPlaces )
    {
        const auto found = inPlaces->find( &inWanted );
        return found == inPlaces->end() ? nullptr : &ioEntries[found->second];
    }
    const auto isWanted = [&]( const TEntry& inEntry ) { return inEntry.*inKey == &inWanted; };
    const auto found = std::find_if( ioEntries.rbegin(), ioEntries.rend(), isWanted );
    return found == ioEntries.rend() ? nullptr : &*found;
}

/// Call it after adding an entry. Entries may hold null.
template<class TEntry, class TKey>
void XRememberPlaces(
    const XVector<TEntry>& inEntries, TKey* TEntry::*inKey, XPlacesOf<TKey>& ioPlaces ) noexcept
{
    if ( !ioPlaces && inEntries.size() <= kMostSearched )
        return;
    try
    {
        USize first = inEntries.size() - 1;
        if ( !ioPlaces )
        {
            ioPlaces = std::make_unique<std::unordered_map<const TKey*, USize>>();
            first = 0;
        }
        for ( USize place = first; place < inEntries.size(); ++place )
            if ( const TKey* const key = inEntries[place].*inKey )
                ioPlaces->insert_or_assign( key, place );
    }
    catch ( ... )
    {
        ioPlaces.reset();
    }
}
