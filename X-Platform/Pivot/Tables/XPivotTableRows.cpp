#include "Pivot/Tables/XPivotTable.h"

#include "Pivot/Rows/Internal/XPivotRowOrder.h"
#include "Pivot/Tables/Internal/XPivotTableGroups.h"
#include "Pivot/Tables/Internal/XPivotTableOrder.h"
#include "Pivot/Tables/Internal/XPivotTableReferences.h"

#include <algorithm>
#include <iterator>
#include <numeric>

// Every operation that may remove rows keeps the objects that remaining rows refer to: KeepAll before, Settle
// after (XPivotTableReferences). Sorting and duplicating listed rows remove none and need no such care.

namespace
{
XVector<std::uint32_t> ToRows( const XVector<std::int32_t>& inRows )
{
    return XVector<std::uint32_t>( inRows.begin(), inRows.end() );
}

XVector<std::uint32_t> ListAllRows( std::uint32_t inRowCount )
{
    XVector<std::uint32_t> rows( inRowCount );
    std::iota( rows.begin(), rows.end(), 0u );
    return rows;
}
} // namespace

void XPivotTable::DeleteRows( std::uint32_t inFirst, std::uint32_t inCount )
{
    XPivotTableReferences references( *this );
    references.KeepAll();
    for ( const auto& column : itsColumns )
        column->DeleteItems( inFirst, inCount );
    references.Settle();
}

void XPivotTable::DeleteRows( const XVector<std::uint32_t>& inRows )
{
    KeepRows( XListOtherRows( GetNumRows(), inRows ) );
}

void XPivotTable::KeepRows( const XVector<std::uint32_t>& inRows )
{
    XPivotTableReferences references( *this );
    references.KeepAll();
    ReorderRows( inRows );
    references.Settle();
}

void XPivotTable::ReorderRows( const XVector<std::uint32_t>& inRows )
{
    for ( const auto& column : itsColumns )
        column->Reorder( inRows );
}

void XPivotTable::DuplicateRows( const XVector<std::uint32_t>& inRows )
{
    XVector<std::uint32_t> order = ListAllRows( GetNumRows() );
    for ( const std::uint32_t row : inRows )
    {
        XAssert( row < GetNumRows() );
        order.push_back( row );
    }
    // Each copy follows its original.
    std::sort( order.begin(), order.end() );
    ReorderRows( order );
}

void XPivotTable::DuplicateAllRows( std::uint32_t inCount, bool inInterleaved )
{
    XPivotTableReferences references( *this );
    references.KeepAll();
    for ( const auto& column : itsColumns )
        column->DuplicateAllValues( inCount, inInterleaved );
    references.Settle();
}

void XPivotTable::RemoveDuplicates( const XColumnIndices& inColumns, XVector<std::uint32_t>* outRows )
{
    const XColumnIndices all = ListAllRows( GetNumColumns() );
    XPivotTableGroups groups =
        XGroupPivotTableRows( ListColumns( inColumns.empty() ? all : inColumns ), GetNumRows() );
    if ( itsColumns.empty() )
        groups.firstRows.clear();
    // Columns of unknown classes keep their contents if no row goes.
    if ( groups.GetCount() < GetNumRows() )
        KeepRows( groups.firstRows );
    if ( outRows )
        outRows->swap( groups.firstRows );
}

// ---- Order

void XPivotTable::Sort(
    std::uint32_t inColumn, XPivotSortDirection inDirection, XVector<std::uint32_t>* outOrder )
{
    // The column sorts itself with the order of its own type; the others follow its order.
    XPivotColumn& sorted = GetColumn( inColumn );
    XVector<std::uint32_t> order;
    sorted.Sort( inDirection, order );
    for ( const auto& column : itsColumns )
    {
        if ( column.get() != &sorted )
            column->Reorder( order );
    }
    if ( outOrder )
        outOrder->swap( order );
}

void XPivotTable::Sort( const XVector<XSortKey>& inKeys, XVector<std::uint32_t>* outOrder )
{
    // Sorts from the last key to the first, keeping the order of equal rows each time.
    XVector<std::uint32_t> order = ListAllRows( GetNumRows() );
    for ( auto key = inKeys.rbegin(); key != inKeys.rend(); ++key )
        XSortPivotTableRows( GetColumn( key->column ), key->direction, order );
    ReorderRows( order );
    if ( outOrder )
        outOrder->swap( order );
}

// ---- Filters

XVector<std::uint32_t> XPivotTable::FindRows(
    std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference ) const
{
    return ToRows( GetColumn( inColumn ).Filter( inRelationship, inReference ) );
}

XVector<std::uint32_t> XPivotTable::FindRows(
    std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    return ToRows( GetColumn( inColumn ).Filter( inRelationship, inReference ) );
}

void XPivotTable::FilterRows(
    std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference )
{
    KeepRows( FindRows( inColumn, inRelationship, inReference ) );
}

void XPivotTable::FilterRows(
    std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference )
{
    KeepRows( FindRows( inColumn, inRelationship, inReference ) );
}

XVector<std::uint32_t> XPivotTable::FindRows( const XPivotTableFilter& inFilter ) const
{
    if ( inFilter.GetKind() == XPivotTableFilter::kComparison )
    {
        const auto find = [&]( const auto& inReference )
        { return FindRows( inFilter.GetColumn(), inFilter.GetRelationship(), inReference ); };
        return std::visit( find, inFilter.GetReference() );
    }
    const bool isAllOf = inFilter.GetKind() == XPivotTableFilter::kAllOf;
    XVector<std::uint32_t> rows = isAllOf ? ListAllRows( GetNumRows() ) : XVector<std::uint32_t>();
    for ( const XPivotTableFilter& part : inFilter.GetParts() )
    {
        // In ascending order, as the set operations require.
        const XVector<std::uint32_t> found = FindRows( part );
        XVector<std::uint32_t> combined;
        if ( isAllOf )
            std::ranges::set_intersection( rows, found, std::back_inserter( combined ) );
        else
            std::ranges::set_union( rows, found, std::back_inserter( combined ) );
        rows.swap( combined );
    }
    return rows;
}
