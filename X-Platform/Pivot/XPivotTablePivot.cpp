#include "Pivot/XPivotTable.h"

#include "Pivot/XPivotTableCells.h"
#include "Pivot/XPivotUInt32Column.h"

#include <algorithm>
#include <iterator>

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

/// A row's keys as they head result columns: "3, treated".
XString MakeKeyText( const XColumnList& inKeys, std::uint32_t inRow )
{
    XString text;
    for ( const XPivotColumn* key : inKeys )
    {
        if ( key != inKeys.front() )
            text += ", ";
        text += key->DoesDataExist( inRow ) ? key->GetDataString( inRow ) : XString( "N/A" );
    }
    return text;
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
                    PutBeforeName( MakeKeyText( columnKeys, columns.firstRows[group] ), *result );
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
                  : cells.PickSingleValues( *itsColumns[i] ) );
    }
    TakeColumns( std::move( columns ) );
}
