#include "Pivot/XPivotStringColumn.h"

#include "Pivot/XPivotNumberText.h"
#include "Pivot/XPivotRowFilter.h"

#include <algorithm>
#include <limits>
#include <memory>

XPivotStringColumn::XPivotStringColumn() : XPivotColumnT( XString() ) {}

XPivotStringColumn::XPivotStringColumn(
    XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName, const XString& inUnits,
    std::uint32_t inRevision )
    : XPivotColumnT( inID, inColumnName, inChannelName, inUnits, inRevision, XString() )
{
}

XPivotStringColumn* XPivotStringColumn::CloneWithoutCopy() const
{
    auto column = std::make_unique<XPivotStringColumn>();
    column->CopySettings( *this );
    return column.release();
}

void XPivotStringColumn::SetData( double inValue, std::int32_t inRow, bool inExists )
{
    SetValue( XFormatPivotNumber( inValue ), inRow, inExists );
}

void XPivotStringColumn::SetData( const XString& inValue, std::int32_t inRow, bool inExists )
{
    SetValue( inValue, inRow, inExists );
}

double XPivotStringColumn::GetDataFloat( std::uint32_t inRow ) const
{
    return GetValue( inRow ).GetSFloat64();
}

XString XPivotStringColumn::GetDataString( std::uint32_t inRow ) const
{
    return GetValue( inRow );
}

double XPivotStringColumn::GetNumberToCompare( std::uint32_t inRow ) const
{
    return XFindPivotNumber( GetValue( inRow ) ).value_or( 0.0 );
}

std::int32_t XPivotStringColumn::FindDataFloat( double inValue ) const
{
    const auto found = std::find_if(
        itsColumnData.begin(), itsColumnData.end(),
        [&]( const XString& inText ) { return XFindPivotNumber( inText ) == inValue; } );
    return found == itsColumnData.end() ? -1 : static_cast<std::int32_t>( found - itsColumnData.begin() );
}

XPivotColumn::XFloatBlock XPivotStringColumn::GetFloatBlock(
    std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const
{
    if ( inFirstRow >= GetColumnSize() )
        return { nullptr, nullptr, 0 };
    const std::uint32_t count = std::min( inMaxCount, GetColumnSize() - inFirstRow );
    ioScratch.resize( count );
    for ( std::uint32_t i = 0; i < count; ++i )
    {
        if ( DoesDataExist( inFirstRow + i ) )
            ioScratch[i] = XFindPivotNumber( itsColumnData[inFirstRow + i] )
                               .value_or( std::numeric_limits<double>::quiet_NaN() );
    }
    return { ioScratch.data(), GetExistsVector().data() + inFirstRow, count };
}

bool XPivotStringColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const
{
    return DoesPassCompare( GetValue( inRow ), inRelationship, XFormatPivotNumber( inReference ) );
}

bool XPivotStringColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    return DoesPassCompare( GetValue( inRow ), inRelationship, inReference );
}

bool XPivotStringColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference ) const
{
    return DoesPassCompare( GetValue( inRow ), inRelationship, XString( inReference ) );
}
