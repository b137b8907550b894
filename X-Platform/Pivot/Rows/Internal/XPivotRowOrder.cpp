#include "Pivot/Rows/Internal/XPivotRowOrder.h"

#include "Core/Identifiers/XUUID.h"
#include "Core/Streams/XByteOrder.h"
#include "Core/Strings/Internal/XNaturalOrder.h"
#include "Core/Times/XTime.h"
#include "Pivot/Rows/Internal/XStableSort.h"

#include <array>
#include <cmath>
#include <numeric>
#include <optional>
#include <string_view>
#include <unordered_map>

// Sorting never compares values of the column's type but unsigned keys that order as the values do:
// - Signed integers and times have their sign bit inverted.
// - For doubles, all bits of negative numbers are inverted and the sign bit of the others, which makes the
//   order of the bit patterns that of the numbers (IEEE 754 was designed for this). Adding 0.0 unifies the
//   zeros; NaN gets the key 0, below minus infinity.
// - Identifiers are big-endian words; the second word is looked at only in groups whose first word is equal.
//
// Keys are sorted by a radix sort from the lowest byte up (O(n) for each byte that differs anywhere), or by
// comparing if there are few. Both are stable. A descending sort complements the keys instead of reversing
// the result, so that equal values keep their order in both directions.
//
// Texts are compared in the natural order, which is slow. If few of them are different, each is replaced by
// its rank among the different ones, and the ranks are sorted as numbers.

namespace
{
/// A row with an unsigned integer that orders as its value does.
template<class TKey>
struct XKeyedRow
{
    TKey key;
    std::uint32_t row;
};

// ---- Keys

std::uint32_t MakeKey( std::uint32_t inValue )
{
    return inValue;
}
std::uint32_t MakeKey( const XVersion& inValue )
{
    return inValue;
}
std::uint32_t MakeKey( std::int32_t inValue )
{
    return static_cast<std::uint32_t>( inValue ) ^ 0x80000000u;
}

std::uint64_t MakeKey( const XTime& inValue )
{
    return static_cast<std::uint64_t>( inValue.GetMicroSeconds() ) ^ ( std::uint64_t( 1 ) << 63 );
}

std::uint64_t MakeKey( double inValue )
{
    if ( std::isnan( inValue ) )
        return 0;
    const auto bits = std::bit_cast<std::uint64_t>( inValue + 0.0 ); // makes both zeros the positive one
    return bits >> 63 ? ~bits : bits | std::uint64_t( 1 ) << 63;
}

std::uint64_t ReadBytesAsKey( const std::uint8_t* inBytes )
{
    std::uint64_t bytes;
    std::memcpy( &bytes, inBytes, sizeof bytes );
    return kPlatformByteOrder == kIntelOrder ? XSwapBytes( bytes ) : bytes;
}

/// The first half of the bytes; the rest is compared where these are equal.
std::uint64_t MakeKey( const XUUID& inValue )
{
    return ReadBytesAsKey( inValue.GetBytes() );
}

// ---- Radix sort

constexpr std::size_t kFewRows = 256; // below that, counting digits costs more than comparing

/// Sorts by one byte of the key after the other, lowest first, and leaves out bytes that are the same in all
/// keys.
template<class TKey>
class XRadixSort
{
public:
    using XRow = XKeyedRow<TKey>;

    void Sort( XVector<XRow>& ioRows )
    {
        CountDigits( ioRows );
        XVector<XRow> scratch( ioRows.size() );
        for ( unsigned digit = 0; digit < kDigits; ++digit )
        {
            if ( IsSameInAll( digit, ioRows ) )
                continue;
            Distribute( digit, ioRows, scratch );
            ioRows.swap( scratch );
        }
    }

private:
    static constexpr unsigned kDigits = sizeof( TKey );

    static std::size_t GetDigit( const XRow& inRow, unsigned inDigit )
    {
        return static_cast<std::size_t>( inRow.key >> ( 8 * inDigit ) & 0xFF );
    }

    void CountDigits( const XVector<XRow>& inRows )
    {
        for ( const XRow& row : inRows )
        {
            for ( unsigned digit = 0; digit < kDigits; ++digit )
                ++itsCounts[digit][GetDigit( row, digit )];
        }
    }

    bool IsSameInAll( unsigned inDigit, const XVector<XRow>& inRows ) const
    {
        return itsCounts[inDigit][GetDigit( inRows.front(), inDigit )] == inRows.size();
    }

    void Distribute( unsigned inDigit, const XVector<XRow>& inRows, XVector<XRow>& outRows )
    {
        std::array<std::uint32_t, 256> places;
        std::exclusive_scan( itsCounts[inDigit].begin(), itsCounts[inDigit].end(), places.begin(), 0u );
        for ( const XRow& row : inRows )
            outRows[places[GetDigit( row, inDigit )]++] = row;
    }

    // All digits are counted in one pass over the rows, since the counts do not depend on the order of the
    // rows.
    std::array<std::array<std::uint32_t, 256>, kDigits> itsCounts = {};
};

template<class TKey>
void SortByKey( XVector<XKeyedRow<TKey>>& ioRows )
{
    if ( ioRows.size() >= kFewRows )
        return XRadixSort<TKey>().Sort( ioRows );
    const auto isLess = []( const auto& inLeft, const auto& inRight ) { return inLeft.key < inRight.key; };
    XStableSort( ioRows, isLess ).Sort();
}

template<class T>
auto SortKeys( const XVector<T>& inValues, XPivotSortDirection inDirection )
{
    using XKey = decltype( MakeKey( inValues.front() ) );
    // Complemented keys order the other way round and leave ties as they are.
    const XKey flip = inDirection == kSortAscending ? 0 : static_cast<XKey>( ~XKey( 0 ) );
    XVector<XKeyedRow<XKey>> rows( inValues.size() );
    for ( std::size_t row = 0; row < rows.size(); ++row )
        rows[row] = { MakeKey( inValues[row] ) ^ flip, static_cast<std::uint32_t>( row ) };
    SortByKey( rows );
    return rows;
}

/// Sorts each group of equal keys by the second half of the bytes.
void SortBySecondHalf(
    const XVector<XUUID>& inValues, std::uint64_t inFlip, XVector<XKeyedRow<std::uint64_t>>& ioRows )
{
    XVector<XKeyedRow<std::uint64_t>> group;
    for ( std::size_t first = 0, end; first < ioRows.size(); first = end )
    {
        for ( end = first + 1; end < ioRows.size() && ioRows[end].key == ioRows[first].key; )
            ++end;
        if ( end - first == 1 )
            continue;
        group.assign(
            ioRows.begin() + static_cast<std::ptrdiff_t>( first ),
            ioRows.begin() + static_cast<std::ptrdiff_t>( end ) );
        for ( auto& row : group )
            row.key = ReadBytesAsKey( inValues[row.row].GetBytes() + sizeof row.key ) ^ inFlip;
        SortByKey( group );
        std::copy( group.begin(), group.end(), ioRows.begin() + static_cast<std::ptrdiff_t>( first ) );
    }
}

// ---- Texts

XVector<std::uint32_t> ListRows( std::size_t inCount )
{
    XVector<std::uint32_t> rows( inCount );
    std::iota( rows.begin(), rows.end(), 0u );
    return rows;
}

/// Numbers that order as the texts do, where few of many texts are different: only those are compared then,
/// which takes long. Nothing where that would not help.
std::optional<XVector<std::uint32_t>> RankFewTexts( const XVector<XString>& inTexts )
{
    constexpr std::size_t kRowsPerText = 8;
    const std::size_t most = inTexts.size() / kRowsPerText;
    if ( inTexts.size() < kFewRows )
        return std::nullopt;
    std::unordered_map<std::string_view, std::uint32_t> places;
    XVector<std::uint32_t> firstRows, ranks( inTexts.size() );
    for ( std::uint32_t row = 0; row < ranks.size(); ++row )
    {
        const auto place = static_cast<std::uint32_t>( firstRows.size() );
        const auto [found, isNew] = places.try_emplace( inTexts[row].GetStringView(), place );
        // Too many different texts: the look-ups so far are the price of the attempt, at most one for each
        // row.
        if ( isNew && firstRows.size() == most )
            return std::nullopt;
        if ( isNew )
            firstRows.push_back( row );
        ranks[row] = found->second;
    }

    const auto isLess = [&]( std::uint32_t inLeft, std::uint32_t inRight )
    { return inTexts[firstRows[inLeft]] < inTexts[firstRows[inRight]]; };
    XVector<std::uint32_t> order = ListRows( firstRows.size() );
    XStableSort( order, isLess ).Sort();
    // Different texts that order as equal have the same rank.
    XVector<std::uint32_t> rankOfPlace( order.size() );
    for ( std::size_t i = 1; i < order.size(); ++i )
        rankOfPlace[order[i]] = rankOfPlace[order[i - 1]] + isLess( order[i - 1], order[i] );
    for ( std::uint32_t& rank : ranks )
        rank = rankOfPlace[rank];
    return ranks;
}

/// A row with the address of its text, so that comparisons need not access the string.
struct XTextRow
{
    const char* text;
    std::uint32_t length;
    std::uint32_t row;

    std::string_view GetView() const { return { text, length }; }
};

void SortByComparing(
    const XVector<XString>& inTexts, XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder )
{
    XVector<XTextRow> rows( inTexts.size() );
    for ( std::uint32_t row = 0; row < rows.size(); ++row )
    {
        constexpr USize64 kMost = 0xFFFFFFFF; // the order ends at NULs, whatever the lengths
        const auto length = static_cast<std::uint32_t>( std::min( inTexts[row].GetLength(), kMost ) );
        rows[row] = { inTexts[row].GetConstCharPtr(), length, row };
    }
    const auto isLess = []( const XTextRow& inLeft, const XTextRow& inRight )
    { return XNaturalOrder( false, false ).IsLess( inLeft.GetView(), inRight.GetView() ); };
    const auto isGreater = [&]( const XTextRow& inLeft, const XTextRow& inRight )
    { return isLess( inRight, inLeft ); };
    if ( inDirection == kSortAscending )
        XStableSort( rows, isLess ).Sort();
    else
        XStableSort( rows, isGreater ).Sort();
    outOrder.resize( rows.size() );
    std::ranges::transform( rows, outOrder.begin(), &XTextRow::row );
}
} // namespace

template<class T>
void XSortPivotRows(
    const XVector<T>& inValues, XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder )
{
    auto rows = SortKeys( inValues, inDirection );
    if constexpr ( std::is_same_v<T, XUUID> )
        SortBySecondHalf( inValues, inDirection == kSortAscending ? 0 : ~std::uint64_t( 0 ), rows );
    outOrder.resize( rows.size() );
    for ( std::size_t i = 0; i < rows.size(); ++i )
        outOrder[i] = rows[i].row;
}

template void XSortPivotRows( const XVector<double>&, XPivotSortDirection, XVector<std::uint32_t>& );
template void XSortPivotRows( const XVector<std::int32_t>&, XPivotSortDirection, XVector<std::uint32_t>& );
template void XSortPivotRows( const XVector<std::uint32_t>&, XPivotSortDirection, XVector<std::uint32_t>& );
template void XSortPivotRows( const XVector<XTime>&, XPivotSortDirection, XVector<std::uint32_t>& );
template void XSortPivotRows( const XVector<XUUID>&, XPivotSortDirection, XVector<std::uint32_t>& );
template void XSortPivotRows( const XVector<XVersion>&, XPivotSortDirection, XVector<std::uint32_t>& );

template<>
void XSortPivotRows(
    const XVector<XString>& inValues, XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder )
{
    if ( const auto ranks = RankFewTexts( inValues ) )
        return XSortPivotRows( *ranks, inDirection, outOrder );
    SortByComparing( inValues, inDirection, outOrder );
}

void XSortTextsStably( XVector<XString>& ioTexts )
{
    XStableSort( ioTexts, []( const XString& inLeft, const XString& inRight ) { return inLeft < inRight; } )
        .Sort();
}

XVector<std::uint32_t> XListOtherRows( std::uint32_t inRowCount, const XVector<std::uint32_t>& inRows )
{
    XVector<std::uint8_t> isListed( inRowCount, 0 );
    for ( const std::uint32_t row : inRows )
    {
        XAssert( row < inRowCount );
        isListed[row] = 1;
    }
    XVector<std::uint32_t> others;
    others.reserve( inRowCount );
    for ( std::uint32_t row = 0; row < inRowCount; ++row )
    {
        if ( !isListed[row] )
            others.push_back( row );
    }
    return others;
}
