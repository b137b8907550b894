#include "Pivot/Tables/Internal/XPivotTableGroups.h"

#include "Pivot/Columns/XPivotColumnT.h"
#include "Pivot/Tables/Internal/XPivotTableKey.h"
#include "Pivot/Tables/Internal/XPivotTextGroups.h"

#include <algorithm>
#include <array>
#include <map>
#include <numeric>

// Grouping, O(rows) with hashes. Each row has a hash of all its keys; hashes are numbered in the order of
// their first occurrence by a table with open addressing, and the number is the row's group. Two different
// rows may have one hash, so after each block the keys of every row are compared with those of the first row
// of its group. If any differs, or if a hash has no free place within 512 steps (which happens by intent, not
// by chance), all grouping is done again by comparing values in a sorted map, O(rows log groups), which no
// input can slow down further.
//
// Numbers in the order of the first rows make the result independent of the hash function.
// XSortPivotTableGroups renumbers the groups in the order of their keys by stable sorts, from the last key to
// the first.

namespace
{
using XKeys = XVector<std::unique_ptr<XPivotTableKey>>;

XKeys MakeKeys( const XVector<const XPivotColumn*>& inColumns )
{
    XKeys keys;
    for ( const XPivotColumn* column : inColumns )
        keys.push_back( XPivotTableKey::Make( *column ) );
    return keys;
}

/// Numbers hashes in the order in which they first occur: open addressing, at most half full.
class XHashNumbers
{
public:
    /// Notes the rows in which hashes first occur.
    explicit XHashNumbers( XVector<std::uint32_t>& outFirstRows ) : itsFirstRows( outFirstRows ) {}

    /// The number of a row's hash; the next free one for a hash that is new.
    std::uint32_t Number( std::uint64_t inHash, std::uint32_t inRow )
    {
        const std::uint32_t tag = GetTag( inHash );
        for ( std::uint64_t step = 0; step < kMostSteps; ++step )
        {
            const std::uint64_t place = ( inHash + step ) & itsMask;
            const XEntry& entry = itsEntries[place];
            // Equal tags in neighbouring places are taken for equal hashes; if they are not, the comparison
            // of values finds out.
            if ( entry.tag == tag && entry.number != kFree ) [[likely]]
                return entry.number;
            if ( entry.number == kFree )
                return Add( place, inHash, inRow );
        }
        itsIsCrowded = true;
        return 0;
    }

    /// True once hashes have been found to crowd in places, as only chosen values make them do: then numbers
    /// mean nothing.
    bool IsCrowded() const { return itsIsCrowded; }

private:
    static constexpr std::uint32_t kFree = 0xFFFFFFFF;
    static constexpr std::uint64_t kMostSteps = 512;

    struct XEntry
    {
        std::uint32_t tag = 0;
        std::uint32_t number = kFree;
    };

    static std::uint32_t GetTag( std::uint64_t inHash ) { return static_cast<std::uint32_t>( inHash >> 32 ); }

    [[gnu::noinline]] std::uint32_t Add( std::uint64_t inPlace, std::uint64_t inHash, std::uint32_t inRow )
    {
        const auto number = static_cast<std::uint32_t>( itsHashes.size() );
        itsEntries[inPlace] = { GetTag( inHash ), number };
        itsHashes.push_back( inHash );
        itsFirstRows.push_back( inRow );
        if ( 2 * itsHashes.size() > itsEntries.size() )
            Grow();
        return number;
    }

    void Grow()
    {
        // The hashes are kept by number, so nothing has to be computed again.
        itsEntries.assign( 4 * itsEntries.size(), XEntry() );
        itsMask = itsEntries.size() - 1;
        for ( std::uint32_t number = 0; number < itsHashes.size(); ++number )
        {
            std::uint64_t place = itsHashes[number] & itsMask;
            while ( itsEntries[place].number != kFree )
                place = ( place + 1 ) & itsMask;
            itsEntries[place] = { GetTag( itsHashes[number] ), number };
        }
    }

    XVector<XEntry> itsEntries = XVector<XEntry>( 4096 );
    std::uint64_t itsMask = 4095;
    XVector<std::uint64_t> itsHashes; // by number
    XVector<std::uint32_t>& itsFirstRows;
    bool itsIsCrowded = false;
};

/// Groups by hashes alone, block by block; false when two values turn out to share a hash, or many nearly do.
bool GroupByHashes(
    const XKeys& inKeys, std::uint32_t inRowCount, std::uint64_t inHashBits, XPivotTableGroups& outGroups )
{
    XHashNumbers numbers( outGroups.firstRows );
    std::array<std::uint64_t, XPivotTableKey::kMostRowsPerBlock> hashes;
    for ( std::uint32_t first = 0; first < inRowCount; first += XPivotTableKey::kMostRowsPerBlock )
    {
        const std::uint32_t count = std::min( XPivotTableKey::kMostRowsPerBlock, inRowCount - first );
        std::uint32_t* groups = outGroups.groups.data() + first;
        hashes.fill( 0x243F6A8885A308D3 ); // no value of a key is the seed but by chance
        for ( const auto& key : inKeys )
            key->LoadBlock( first, count, hashes.data() );
        for ( std::uint32_t i = 0; i < count; ++i )
            groups[i] = numbers.Number( hashes[i] & inHashBits, first + i );
        if ( numbers.IsCrowded() )
            return false;
        for ( const auto& key : inKeys )
        {
            if ( !key->IsBlockInGroups( groups, outGroups.firstRows ) )
                return false;
        }
    }
    return true;
}

/// Groups by comparing values: slower, for the rare rows whose hashes say less than their values.
void GroupByValues( const XKeys& inKeys, std::uint32_t inRowCount, XPivotTableGroups& outGroups )
{
    const auto isLess = [&]( std::uint32_t inLeft, std::uint32_t inRight )
    {
        for ( const auto& key : inKeys )
        {
            if ( const int order = key->Compare( inLeft, inRight ) )
                return order < 0;
        }
        return false;
    };
    std::map<std::uint32_t, std::uint32_t, decltype( isLess )> groupOf( isLess );
    outGroups.firstRows.clear();
    for ( std::uint32_t row = 0; row < inRowCount; ++row )
    {
        const auto [place, isNew] = groupOf.try_emplace( row, outGroups.GetCount() );
        outGroups.groups[row] = place->second;
        if ( isNew )
            outGroups.firstRows.push_back( row );
    }
}

/// The groups by a single column of texts, where they share storage.
std::optional<XPivotTableGroups> GroupSharedTexts(
    const XVector<const XPivotColumn*>& inKeys, std::uint32_t inRowCount, std::uint64_t inHashBits )
{
    if ( inKeys.size() != 1 || inHashBits != kAllHashBits )
        return std::nullopt;
    const auto* texts = dynamic_cast<const XPivotColumnT<XString>*>( inKeys.front() );
    return texts ? XGroupSharedPivotTexts( texts->GetDataVector(), texts->GetExistsVector(), inRowCount )
                 : std::nullopt;
}
} // namespace

XPivotTableGroups XGroupPivotTableRows(
    const XVector<const XPivotColumn*>& inKeys, std::uint32_t inRowCount, std::uint64_t inHashBits )
{
    if ( auto shared = GroupSharedTexts( inKeys, inRowCount, inHashBits ) )
        return std::move( *shared );
    XPivotTableGroups groups;
    groups.groups.resize( inRowCount );
    if ( inKeys.empty() )
    {
        groups.firstRows.push_back( 0 );
        return groups;
    }
    const XKeys keys = MakeKeys( inKeys );
    if ( !GroupByHashes( keys, inRowCount, inHashBits, groups ) )
        GroupByValues( keys, inRowCount, groups );
    return groups;
}

void XSortPivotTableGroups( const XVector<const XPivotColumn*>& inKeys, XPivotTableGroups& ioGroups )
{
    if ( inKeys.empty() )
        return;
    const XKeys keys = MakeKeys( inKeys );
    for ( auto key = keys.rbegin(); key != keys.rend(); ++key )
        ( *key )->SortRows( ioGroups.firstRows );
    XVector<std::uint32_t> places( ioGroups.firstRows.size() );
    for ( std::uint32_t place = 0; place < places.size(); ++place )
        places[ioGroups.groups[ioGroups.firstRows[place]]] = place;
    for ( std::uint32_t& group : ioGroups.groups )
        group = places[group];
}
