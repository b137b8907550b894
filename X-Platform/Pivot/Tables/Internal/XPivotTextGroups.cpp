#include "Pivot/Tables/Internal/XPivotTextGroups.h"

#include "Ground/Internal/XHashMix.h"

#include <algorithm>
#include <bit>
#include <unordered_map>

// Texts that share storage (XPivotTextPool) are equal, so rows can be grouped by the addresses of their
// storages, without looking at a character. Equal texts may also lie in different storages; the groups of
// those are merged afterwards, by comparing one text for each storage. This pays while there are few storages
// for many rows: beyond the limits below the caller hashes the texts.

namespace
{
// With more storages than these, looking at their texts would take longer than hashing the texts of all rows.
constexpr std::uint32_t kMostStorages = 16 * 1024;
constexpr std::uint32_t kAnyStorages = 256; // which any rows may have
constexpr std::uint32_t kRowsPerStorage = 16;
constexpr std::uint32_t kRowsPerRound = 512;

/// Numbers the storages of texts in the order in which they first occur: open addressing, at most an eighth
/// full. The contents of a table do not determine addresses, so they cannot be chosen to collide.
class XStorageNumbers
{
public:
    /// Notes the rows in which storages first occur.
    explicit XStorageNumbers( XVector<std::uint32_t>& outFirstRows ) : itsFirstRows( outFirstRows ) {}

    std::uint32_t Number( const void* inStorage, std::uint32_t inRow )
    {
        for ( std::size_t place = GetPlace( inStorage );; place = ( place + 1 ) & ( itsEntries.size() - 1 ) )
        {
            const XEntry& entry = itsEntries[place];
            if ( entry.storage == inStorage ) [[likely]]
                return entry.number;
            if ( !entry.storage )
                return Add( place, inStorage, inRow );
        }
    }

private:
    struct XEntry
    {
        const void* storage = nullptr;
        std::uint32_t number = 0;
    };

    std::size_t GetPlace( const void* inStorage ) const
    {
        const std::uint64_t product = std::bit_cast<std::uintptr_t>( inStorage ) * kXHashFactor;
        return static_cast<std::size_t>( product >> 20 ) & ( itsEntries.size() - 1 );
    }

    [[gnu::noinline]] std::uint32_t Add( std::size_t inPlace, const void* inStorage, std::uint32_t inRow )
    {
        const auto number = static_cast<std::uint32_t>( itsFirstRows.size() );
        itsEntries[inPlace] = { inStorage, number };
        itsFirstRows.push_back( inRow );
        if ( 8 * itsFirstRows.size() > itsEntries.size() )
            Grow();
        return number;
    }

    void Grow()
    {
        XVector<XEntry> old( 4 * itsEntries.size() );
        old.swap( itsEntries );
        for ( const XEntry& entry : old )
        {
            if ( !entry.storage )
                continue;
            std::size_t place = GetPlace( entry.storage );
            while ( itsEntries[place].storage )
                place = ( place + 1 ) & ( itsEntries.size() - 1 );
            itsEntries[place] = entry;
        }
    }

    XVector<std::uint32_t>& itsFirstRows;
    XVector<XEntry> itsEntries = XVector<XEntry>( 1024 );
};

/// Groups by storages, all missing rows as one; false when there are too many.
bool GroupByStorages(
    const XVector<XString>& inTexts, const XVector<std::uint8_t>& inExists, XPivotTableGroups& outGroups )
{
    XStorageNumbers numbers( outGroups.firstRows );
    static constexpr char kMissing = '\0'; // stands for a storage
    const auto count = static_cast<std::uint32_t>( outGroups.groups.size() );
    const std::uint32_t most = ( std::min )( kAnyStorages + count / kRowsPerStorage, kMostStorages );
    for ( std::uint32_t row = 0; row < count; )
    {
        for ( const std::uint32_t end = row + ( std::min )( kRowsPerRound, count - row ); row < end; ++row )
        {
            const void* const storage = inExists[row] ? inTexts[row].GetStorageID() : &kMissing;
            outGroups.groups[row] = numbers.Number( storage, row );
        }
        if ( outGroups.GetCount() > most )
            return false;
    }
    return true;
}

/// The group of each group's text: a smaller one where that has the same text.
XVector<std::uint32_t> FindEqualTexts(
    const XVector<XString>& inTexts, const XVector<std::uint8_t>& inExists,
    const XVector<std::uint32_t>& inFirstRows )
{
    std::unordered_map<std::string_view, std::uint32_t> groupOf;
    XVector<std::uint32_t> groups;
    for ( const std::uint32_t row : inFirstRows )
    {
        const auto group = static_cast<std::uint32_t>( groups.size() );
        groups.push_back(
            inExists[row] ? groupOf.try_emplace( inTexts[row].GetStringView(), group ).first->second
                          : group );
    }
    return groups;
}

/// Merges groups with equal texts.
void MergeGroups( const XVector<std::uint32_t>& inEqualGroups, XPivotTableGroups& ioGroups )
{
    XVector<std::uint32_t> numbers( inEqualGroups.size() ), firstRows;
    for ( std::uint32_t group = 0; group < numbers.size(); ++group )
    {
        const bool isNew = inEqualGroups[group] == group;
        numbers[group] =
            isNew ? static_cast<std::uint32_t>( firstRows.size() ) : numbers[inEqualGroups[group]];
        if ( isNew )
            firstRows.push_back( ioGroups.firstRows[group] );
    }
    if ( firstRows.size() == ioGroups.firstRows.size() )
        return;
    for ( std::uint32_t& group : ioGroups.groups )
        group = numbers[group];
    ioGroups.firstRows.swap( firstRows );
}
} // namespace

std::optional<XPivotTableGroups> XGroupSharedPivotTexts(
    const XVector<XString>& inTexts, const XVector<std::uint8_t>& inExists, std::uint32_t inRowCount )
{
    XPivotTableGroups groups;
    groups.groups.resize( inRowCount );
    if ( !GroupByStorages( inTexts, inExists, groups ) )
        return std::nullopt;
    MergeGroups( FindEqualTexts( inTexts, inExists, groups.firstRows ), groups );
    return groups;
}
