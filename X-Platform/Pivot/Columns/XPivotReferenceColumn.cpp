#include "Pivot/Columns/XPivotReferenceColumn.h"

#include "Pivot/Columns/Internal/XPivotConversions.h"
#include "Pivot/Columns/XPivotUInt32Column.h"
#include "Pivot/Rows/Internal/XPivotRowOrder.h"

#include <memory>

XPivotColumn* XPivotReferenceColumn::CloneForPivot() const
{
    std::unique_ptr<XPivotColumn> column( CloneWithoutCopyForPivot() );
    *column += *this;
    return column.release();
}

// In a pivot a reference is only the number that users see: the result has no rows that it could refer to.
XPivotColumn* XPivotReferenceColumn::CloneWithoutCopyForPivot() const
{
    auto column = std::make_unique<XPivotUInt32Column>();
    column->CopySettings( *this );
    return column.release();
}

XVector<std::uint32_t> XPivotReferenceColumn::GetUserVisibleIDVector() const
{
    XVector<std::uint32_t> numbers( GetColumnSize() );
    for ( std::uint32_t row = 0; row < numbers.size(); ++row )
        numbers[row] = GetDataUserVisibleID( row );
    return numbers;
}

XVector<XUUID> XPivotReferenceColumn::GetUUIDVector() const
{
    XVector<XUUID> uuids( GetColumnSize() );
    for ( std::uint32_t row = 0; row < uuids.size(); ++row )
        uuids[row] = GetDataUUID( row );
    return uuids;
}

void XPivotReferenceColumn::SetData( const XString& inValue, std::int32_t inRow, bool inExists )
{
    SetValue( XReadPivotUUID( inValue, inExists, itsDefaultValue ), inRow, inExists );
}

bool XPivotReferenceColumn::IsNumeric() const
{
    return true;
}

double XPivotReferenceColumn::GetDataFloat( std::uint32_t inRow ) const
{
    return GetDataUserVisibleID( inRow );
}

XString XPivotReferenceColumn::GetDataString( std::uint32_t inRow ) const
{
    return XString( GetDataUserVisibleID( inRow ) );
}

std::int32_t XPivotReferenceColumn::FindDataFloat( double inValue ) const
{
    for ( std::uint32_t row = 0; inValue != 0.0 && row < GetColumnSize(); ++row )
    {
        if ( GetDataUserVisibleID( row ) == inValue )
            return static_cast<std::int32_t>( row );
    }
    return -1;
}

void XPivotReferenceColumn::Sort( XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder )
{
    XSortPivotRows( GetUserVisibleIDVector(), inDirection, outOrder );
    Reorder( outOrder );
}

bool XPivotReferenceColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const
{
    return DoesPassCompare( GetDataFloat( inRow ), inRelationship, inReference );
}

bool XPivotReferenceColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    return DoesPass( inRow, inRelationship, inReference.GetSFloat64() );
}
