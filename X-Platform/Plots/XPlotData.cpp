#include "Plots/XPlotData.h"

#include "Drawing/XAxisTicks.h"
#include "Jobs/XChunks.h"
#include "Pivot/XPivotText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numeric>
#include <optional>
#include <unordered_map>

// Three passes over the rows: which of them can be drawn (a finite number in every column), their numbers,
// and the groups. Groups are numbered in the order of their first rows while they are counted. Then the
// largest ones get colours in the order of their values, so that the legend is sorted, and the remaining ones
// are combined.
//
// Rows are grouped by the text of their values, as the legend shows it, but ordered by the values themselves.

namespace
{
// Colours that colour-blind readers tell apart too (Okabe and Ito), without yellow, which is too light on white.
constexpr std::array<WColour, kMostPlotGroups> kColours{ {
    { 0x00, 0x72, 0xB2 },
    { 0xD5, 0x5E, 0x00 },
    { 0x00, 0x9E, 0x73 },
    { 0xCC, 0x79, 0xA7 },
    { 0xE6, 0x9F, 0x00 },
    { 0x56, 0xB4, 0xE9 },
    { 0x00, 0x00, 0x00 },
} };
constexpr WColour kOthersColour{ 0x99, 0x99, 0x99 };

bool CanDraw( const XPlotColumn& inColumn, std::uint32_t inRow )
{
    if ( !inColumn.column.DoesDataExist( inRow ) )
        return false;
    const auto number = inColumn.column.GetDataFloat( inRow );
    // Also false for infinities: there is no place on an axis for them.
    return std::abs( number ) <= kGreatestNumber && // Which NaN is not.
        ( !inColumn.isLogarithmic || number >= kLeastLogarithmicNumber );
}

/// Numbers groups in the order of their first rows.
class Grouping
{
public:
    explicit Grouping( const XPivotColumn& inColumn ) : itsColumn( inColumn ) {}

    /// The number of a row's group.
    std::uint32_t Add( std::uint32_t inRow )
    {
        const auto next = static_cast<std::uint32_t>( itsGroups.size() );
        const auto [found, isNew] = itsNumbers.try_emplace( GetText( inRow ), next );
        if ( isNew )
            itsGroups.push_back( { found->first.value_or( "(none)" ), inRow, 0 } );
        ++itsGroups[found->second].count;
        return found->second;
    }

    std::size_t GetCount() const { return itsGroups.size(); }

    XPlotGroup MakeGroup( std::uint32_t inNumber, const WColour& inColour ) const
    {
        return { itsGroups[inNumber].name, inColour, itsGroups[inNumber].count };
    }

    /// The numbers of the largest groups, in the order of their values.
    std::vector<std::uint32_t> ListLargest( std::size_t inMost ) const
    {
        std::vector<std::uint32_t> numbers( itsGroups.size() );
        std::iota( numbers.begin(), numbers.end(), 0u );
        std::ranges::stable_sort(
            // Stable: of groups of equal size those that come first in the table are preferred.
            numbers, std::greater(), [&]( std::uint32_t inNumber ) { return itsGroups[inNumber].count; } );
        numbers.resize( std::min( numbers.size(), inMost ) );
        std::ranges::stable_sort(
            numbers,
            [&]( auto inOne, auto inOther )
            { return IsLess( itsGroups[inOne].firstRow, itsGroups[inOther].firstRow ); } );
        return numbers;
    }

private:
    struct Group
    {
        std::string name;
        std::uint32_t firstRow;
        std::uint64_t count;
    };
    const XPivotColumn& itsColumn;
    std::unordered_map<std::optional<std::string>, std::uint32_t> itsNumbers;
    std::vector<Group> itsGroups;

    std::optional<std::string> GetText( std::uint32_t inRow ) const
    {
        if ( !itsColumn.DoesDataExist( inRow ) )
            return std::nullopt;
        return XPivotText::ToUTF8Line( itsColumn.GetDataString( inRow ) );
    }

    bool IsLess( std::uint32_t inRow, std::uint32_t inOther ) const
    {
        const auto exists = itsColumn.DoesDataExist( inRow ),
                   otherExists = itsColumn.DoesDataExist( inOther );
        if ( !exists || !otherExists )
            return exists < otherExists;
        if ( !itsColumn.IsNumeric() )
            return itsColumn.GetDataString( inRow ) < itsColumn.GetDataString( inOther );
        const auto number = itsColumn.GetDataFloat( inRow ), other = itsColumn.GetDataFloat( inOther );
        return std::isnan( number ) ? !std::isnan( other ) : number < other;
    }
};

/// Brings the numbers of a grouping down to the groups that are drawn.
void SetGroups( const Grouping& inGrouping, XPlotData& ioData )
{
    std::vector<std::uint32_t> places( inGrouping.GetCount(), static_cast<std::uint32_t>( kMostPlotGroups ) );
    auto others = ioData.groupOfRow.size();
    for ( const auto number : inGrouping.ListLargest( kMostPlotGroups ) )
    {
        const auto place = ioData.groups.size();
        places[number] = static_cast<std::uint32_t>( place );
        ioData.groups.push_back( inGrouping.MakeGroup( number, kColours[place] ) );
        others -= ioData.groups.back().count;
    }
    if ( const auto count = inGrouping.GetCount(); count > kMostPlotGroups )
        ioData.groups.push_back(
            { std::to_string( count - kMostPlotGroups ) + " others", kOthersColour, others } );
    for ( auto& group : ioData.groupOfRow )
        group = places[group];
}

std::vector<std::uint32_t>
FindRowsToDraw( std::uint32_t inRowCount, const std::vector<XPlotColumn>& inColumns )
{
    std::vector<std::uint32_t> rows;
    XForEachChunk(
        inRowCount, kTableRowsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto row = static_cast<std::uint32_t>( inFirst ); row < inEnd; ++row )
                if ( std::ranges::all_of(
                         inColumns, [&]( const XPlotColumn& inEach ) { return CanDraw( inEach, row ); } ) )
                    rows.push_back( row );
        } );
    return rows;
}

void GroupRows( const std::vector<std::uint32_t>& inRows, const XPivotColumn& inColumn, XPlotData& ioData )
{
    Grouping grouping( inColumn );
    XForEachChunk(
        inRows.size(), kTableRowsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto i = inFirst; i < inEnd; ++i )
                ioData.groupOfRow.push_back( grouping.Add( inRows[i] ) );
        } );
    SetGroups( grouping, ioData );
}
} // namespace

XPlotData XReadPlotData(
    std::uint32_t inRowCount, const std::vector<XPlotColumn>& inColumns, const XPivotColumn* inGroups )
{
    XPlotData data;
    const auto rows = FindRowsToDraw( inRowCount, inColumns );
    data.leftOut = inRowCount - rows.size();
    for ( const auto& [column, isLogarithmic] : inColumns )
    {
        auto& numbers = data.numbers.emplace_back();
        for ( const auto row : rows )
            numbers.push_back( column.GetDataFloat( row ) );
    }
    if ( inGroups )
    {
        GroupRows( rows, *inGroups, data );
        return data;
    }
    data.groupOfRow.resize( rows.size() );
    if ( !rows.empty() )
        data.groups.push_back( { "", kColours[0], rows.size() } );
    return data;
}
