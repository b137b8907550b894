#include "Pivot/XPivotFloatColumn.h"

#include "Pivot/XPivotNumberText.h"
#include "Pivot/XPivotRowFilter.h"
#include "Threads/XThread.h"

#include <algorithm>
#include <limits>
#include <memory>

XPivotFloatColumn::XPivotFloatColumn() : XPivotColumnT( std::numeric_limits<double>::quiet_NaN() ) {}

XPivotFloatColumn::XPivotFloatColumn(
    XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName, const XString& inUnits,
    std::uint32_t inRevision )
    : XPivotColumnT(
          inID, inColumnName, inChannelName, inUnits, inRevision, std::numeric_limits<double>::quiet_NaN() )
{
}

XPivotFloatColumn* XPivotFloatColumn::CloneWithoutCopy() const
{
    auto column = std::make_unique<XPivotFloatColumn>();
    column->CopySettings( *this );
    return column.release();
}

void XPivotFloatColumn::SetData( double inValue, std::int32_t inRow, bool inExists )
{
    SetValue( inValue, inRow, inExists );
}

void XPivotFloatColumn::SetData( const XString& inValue, std::int32_t inRow, bool inExists )
{
    SetValue( XReadPivotNumber( inValue, inExists, itsDefaultValue ), inRow, inExists );
}

double XPivotFloatColumn::GetDataFloat( std::uint32_t inRow ) const
{
    return GetValue( inRow );
}

XString XPivotFloatColumn::GetDataString( std::uint32_t inRow ) const
{
    return XFormatPivotNumber( GetDataFloat( inRow ) );
}

std::int32_t XPivotFloatColumn::FindDataFloat( double inValue ) const
{
    const auto found = std::find( itsColumnData.begin(), itsColumnData.end(), inValue );
    return found == itsColumnData.end() ? -1 : static_cast<std::int32_t>( found - itsColumnData.begin() );
}

XPivotColumn::XFloatBlock
XPivotFloatColumn::GetFloatBlock( std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ) const
{
    if ( inFirstRow >= GetColumnSize() )
        return { nullptr, nullptr, 0 };
    return {
        itsColumnData.data() + inFirstRow, GetExistsVector().data() + inFirstRow,
        std::min( inMaxCount, GetColumnSize() - inFirstRow ) };
}

XVector<std::int32_t>
XPivotFloatColumn::Filter( XPivotFilterRelationship inRelationship, double inReference ) const
{
    if ( inRelationship == kFilterContains )
        return XPivotColumn::Filter( inRelationship, inReference );
    XThread::TestCancelCurrentThread();
    return XFilterPivotRows( GetExistsVector(), itsColumnData, inRelationship, inReference );
}

XVector<std::int32_t>
XPivotFloatColumn::Filter( XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    return Filter( inRelationship, inReference.GetSFloat64() );
}

bool XPivotFloatColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const
{
    return DoesPassCompare( GetDataFloat( inRow ), inRelationship, inReference );
}

bool XPivotFloatColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    return DoesPass( inRow, inRelationship, inReference.GetSFloat64() );
}

bool XPivotFloatColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference ) const
{
    return DoesPass( inRow, inRelationship, static_cast<double>( inReference ) );
}
