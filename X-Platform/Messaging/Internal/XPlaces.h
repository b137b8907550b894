#pragma once

#include "Ground/XTypes.h"

#include <algorithm>
#include <memory>
#include <unordered_map>

/// The places of the entries of a vector, by what each of them points to. Null where they are few, which are searched as
/// fast as they are looked up, or where there was no memory for them. Internal.
template<class Key>
using XPlacesOf = std::unique_ptr<std::unordered_map<const Key*, USize>>;

constexpr USize kMostSearched = 32;

/// The entry that points to `inWanted`, or null. The newest are searched first, being the first to go.
template<class Entry, class Key>
Entry* XFindEntry(
    XVector<Entry>& ioEntries, Key* Entry::*inKey, const XPlacesOf<Key>& inPlaces, const Key& inWanted )
{
    if ( inPlaces )
    {
        const auto found = inPlaces->find( &inWanted );
        return found == inPlaces->end() ? nullptr : &ioEntries[found->second];
    }
    const auto isWanted = [&]( const Entry& inEntry ) { return inEntry.*inKey == &inWanted; };
    const auto found = std::find_if( ioEntries.rbegin(), ioEntries.rend(), isWanted );
    return found == ioEntries.rend() ? nullptr : &*found;
}

/// To be called after an entry was added. Entries may point to nothing.
template<class Entry, class Key>
void XRememberPlaces( const XVector<Entry>& inEntries, Key* Entry::*inKey, XPlacesOf<Key>& ioPlaces ) noexcept
{
    if ( !ioPlaces && inEntries.size() <= kMostSearched )
        return;
    try
    {
        USize first = inEntries.size() - 1;
        if ( !ioPlaces )
        {
            ioPlaces = std::make_unique<std::unordered_map<const Key*, USize>>();
            first = 0;
        }
        for ( USize place = first; place < inEntries.size(); ++place )
            if ( const Key* const key = inEntries[place].*inKey )
                ioPlaces->insert_or_assign( key, place );
    }
    catch ( ... )
    {
        ioPlaces.reset();
    }
}
