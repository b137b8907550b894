#include "Pivot/Tables/XPivotTable.h"

#include "Pivot/Columns/Internal/XPivotNumberTexts.h"
#include "Pivot/Columns/XPivotUInt32Column.h"
#include "Pivot/Tables/Internal/XPivotTableCells.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <unordered_map>
#include <unordered_set>

// A pivot in four steps: group the rows by the row keys and, separately, by the column keys; number the cells
// (row group times column group) and aggregate each value column cell by cell (XPivotTableCells); pick one
// row of each group for the key columns; and lay out the result columns by column group, then by value. The
// results arrive by value, hence the index arithmetic at the end of Pivot.
//
// Result columns are found by their headings, so headings must be different: numbers are shown with as many
// digits as distinguish them (XFormatDistinctNumbers), and equal texts get numbers.

namespace
{
using XColumnList = XVector<const XPivotColumn*>;

/// The groups in the sort order of their keys.
XPivotTableGroups MakeGroups( const XColumnList& inKeys, std::uint32_t inRowCount )
{
    XPivotTableGroups groups = XGroupPivotTableRows( inKeys, inRowCount );
    XSortPivotTableGroups( inKeys, groups );
    return groups;
}

/// True for a column whose texts may leave out digits of its numbers.
bool ShowsRoundedNumbers( const XPivotColumn& inColumn )
{
    const std::uint32_t classID = inColumn.GetVersion().GetClassID();
    return classID == kClassPivotFloatColumn || classID == kClassPivotSInt32Column ||
        classID == kClassPivotUInt32Column;
}

XVector<XString> MakeTexts( const XPivotColumn& inColumn, const XVector<std::uint32_t>& inRows )
{
    XVector<XString> texts( inRows.size(), XString( "N/A" ) );
    XVector<std::size_t> present;
    for ( std::size_t i = 0; i < inRows.size(); ++i )
    {
        if ( inColumn.DoesDataExist( inRows[i] ) )
            present.push_back( i );
    }
    if ( !ShowsRoundedNumbers( inColumn ) )
    {
        for ( const std::size_t i : present )
            texts[i] = inColumn.GetDataString( inRows[i] );
        return texts;
    }
    XVector<double> numbers;
    for ( const std::size_t i : present )
        numbers.push_back( inColumn.GetDataFloat( inRows[i] ) );
    const XVector<XString> distinct = XFormatDistinctNumbers( numbers );
    for ( std::size_t i = 0; i < present.size(); ++i )
        texts[present[i]] = distinct[i];
    return texts;
}

XString MakeCount( std::uint32_t inCount )
{
    return " (" + XString( inCount ) + ")";
}

/// Appends " (2)", " (3)" ... to texts that occurred before.
void CountRepeated( XVector<XString>& ioTexts )
{
    std::unordered_set<std::string> used;
    for ( const XString& text : ioTexts )
        used.emplace( text.GetStringView() );
    std::unordered_map<std::string, std::uint32_t> counts;
    for ( XString& text : ioTexts )
    {
        std::uint32_t& count = counts[std::string( text.GetStringView() )];
        if ( ++count == 1 )
            continue;
        const XString repeated = text;
        // The text with its number may itself be another one's text: then the next number is tried.
        for ( text = repeated + MakeCount( count ); !used.emplace( text.GetStringView() ).second; )
            text = repeated + MakeCount( ++count );
    }
}

/// The keys of each group as they head result columns: "3, treated". All different.
XVector<XString> MakeKeyTexts( const XColumnList& inKeys, const XPivotTableGroups& inGroups )
{
    XVector<XString> heads( inGroups.firstRows.size() );
    for ( const XPivotColumn* key : inKeys )
    {
        const XVector<XString> texts = MakeTexts( *key, inGroups.firstRows );
        for ( std::size_t group = 0; group < heads.size(); ++group )
            heads[group] += key == inKeys.front() ? texts[group] : ", " + texts[group];
    }
    CountRepeated( heads );
    return heads;
}

void PutBeforeName( const XString& inText, XPivotColumn& ioColumn )
{
    ioColumn.SetColumnName( inText + ": " + ioColumn.GetDescriptor().GetColumnName() );
}

/// The name alone, whether the ID is known or not.
XString GetName( const XPivotColumn& inColumn )
{
    const XPivotColumnDescriptor& descriptor = inColumn.GetDescriptor();
    return XPivotColumnDescriptor( descriptor.GetID(), descriptor.GetColumnName(), "", "" ).GetDisplayName();
}

/// The result columns of each value.
XVector<XVector<std::unique_ptr<XPivotColumn>>> ReduceValues(
    const XPivotTable& inTable, const XVector<XPivotTable::XPivotValue>& inValues,
    const XPivotTableCells& inCells )
{
    XVector<XVector<std::unique_ptr<XPivotColumn>>> results;
    for ( const auto& value : inValues )
    {
        const XPivotColumn& column = inTable.GetColumn( value.column );
        results.push_back( inCells.Accumulate( column, value.accumulator ) );
        if ( inValues.size() == 1 )
            continue;
        for ( const auto& result : results.back() )
            PutBeforeName( GetName( column ), *result );
    }
    return results;
}
} // namespace

XPivotTable XPivotTable::Pivot(
    const XColumnIndices& inRowKeys, const XColumnIndices& inColumnKeys,
    const XVector<XPivotValue>& inValues ) const
{
    const XColumnList rowKeys = ListColumns( inRowKeys );
    const XColumnList columnKeys = ListColumns( inColumnKeys );
    XPivotTableGroups rows = MakeGroups( rowKeys, GetNumRows() );
    const XPivotTableGroups columns = MakeGroups( columnKeys, GetNumRows() );
    auto results = ReduceValues( *this, inValues, XPivotTableCells( rows, columns, kMaxPivotCells ) );

    const XVector<XString> heads = MakeKeyTexts( columnKeys, columns );
    XPivotTable pivot;
    for ( const XPivotColumn* key : rowKeys )
        pivot.AddColumn( XPickPivotTableRows( *key, rows.firstRows ) );
    for ( std::uint32_t group = 0; group < columns.GetCount(); ++group )
    {
        for ( std::size_t value = 0; value < inValues.size(); ++value )
        {
            const std::uint32_t count = inValues[value].accumulator.GetNumValues();
            for ( std::uint32_t i = 0; i < count; ++i )
            {
                auto& result = results[value][group * count + i];
                if ( !columnKeys.empty() )
                    PutBeforeName( heads[group], *result );
                pivot.AddColumn( std::move( result ) );
            }
        }
    }
    return pivot;
}

XPivotTable XPivotTable::PagePivot(
    const XColumnIndices& inPageKeys, const XColumnIndices& inRowKeys, const XColumnIndices& inColumnKeys,
    const XVector<XPivotValue>& inValues ) const
{
    XColumnIndices keys = inPageKeys;
    keys.insert( keys.end(), inRowKeys.begin(), inRowKeys.end() );
    XPivotTable pivot = Pivot( keys, inColumnKeys, inValues );

    // The page keys decide first, so the pages first occur in their order.
    XColumnList pageKeys;
    for ( std::uint32_t i = 0; i < inPageKeys.size(); ++i )
        pageKeys.push_back( &pivot.GetColumn( i ) );
    const XPivotTableGroups pages = XGroupPivotTableRows( pageKeys, pivot.GetNumRows() );
    auto numbers = std::make_unique<XPivotUInt32Column>( kPivotInternalPageColumn, "", "", "" );
    for ( const std::uint32_t page : pages.groups )
        numbers->AppendValue( page + 1, true );
    pivot.InsertColumn( 0, std::move( numbers ) );
    return pivot;
}

void XPivotTable::Contract( const XColumnIndices& inKeys, const XVector<XPivotValue>& inValues )
{
    const XColumnList keys = ListColumns( inKeys );
    XPivotTableGroups rows = MakeGroups( keys, GetNumRows() );
    // Without keys all rows are one group: each row group is one cell.
    const XPivotTableGroups oneColumn = XGroupPivotTableRows( {}, GetNumRows() );
    const XPivotTableCells cells( rows, oneColumn, kMaxPivotCells );
    auto results = ReduceValues( *this, inValues, cells );

    XColumns columns;
    for ( std::uint32_t i = 0; i < GetNumColumns(); ++i )
    {
        bool isReduced = false;
        for ( std::size_t value = 0; value < inValues.size(); ++value )
        {
            if ( inValues[value].column != i )
                continue;
            std::ranges::move( results[value], std::back_inserter( columns ) );
            isReduced = true;
        }
        if ( isReduced )
            continue;
        const bool isKey = std::ranges::find( inKeys, i ) != inKeys.end();
        columns.push_back(
            isKey ? XPickPivotTableRows( *itsColumns[i], rows.firstRows )
                  : std::move( cells.PickSingleValues( *itsColumns[i] ).front() ) );
    }
    TakeColumns( std::move( columns ) );
}
