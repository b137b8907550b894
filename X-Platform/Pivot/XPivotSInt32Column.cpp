#include "Pivot/XPivotSInt32Column.h"

#include "Pivot/XPivotIntegers.h"
#include "Pivot/XPivotNumberText.h"
#include "Threads/XThread.h"

#include <memory>

XPivotSInt32Column::XPivotSInt32Column() : XPivotColumnT( 0 ) {}

XPivotSInt32Column::XPivotSInt32Column(
    XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName, const XString& inUnits,
    std::uint32_t inRevision )
    : XPivotColumnT( inID, inColumnName, inChannelName, inUnits, inRevision, 0 )
{
}

XPivotSInt32Column* XPivotSInt32Column::CloneWithoutCopy() const
{
    auto column = std::make_unique<XPivotSInt32Column>();
    column->CopySettings( *this );
    return column.release();
}

void XPivotSInt32Column::SetData( double inValue, std::int32_t inRow, bool inExists )
{
    SetValue( XToPivotInteger( inValue, itsDefaultValue ), inRow, inExists );
}

void XPivotSInt32Column::SetData( const XString& inValue, std::int32_t inRow, bool inExists )
{
    SetData( XReadPivotNumber( inValue, inExists, itsDefaultValue ), inRow, inExists );
}

double XPivotSInt32Column::GetDataFloat( std::uint32_t inRow ) const
{
    return GetValue( inRow );
}

XString XPivotSInt32Column::GetDataString( std::uint32_t inRow ) const
{
    return XFormatPivotNumber( GetDataFloat( inRow ) );
}

std::int32_t XPivotSInt32Column::FindDataFloat( double inValue ) const
{
    return XFindPivotInteger( itsColumnData, inValue );
}

XPivotColumn::XFloatBlock XPivotSInt32Column::GetFloatBlock(
    std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const
{
    const std::uint32_t count = XConvertPivotBlock( itsColumnData, inFirstRow, inMaxCount, ioScratch );
    return { ioScratch.data(), GetExistsVector().data() + inFirstRow, count };
}

XVector<std::int32_t>
XPivotSInt32Column::Filter( XPivotFilterRelationship inRelationship, double inReference ) const
{
    if ( inRelationship == kFilterContains )
        return XPivotColumn::Filter( inRelationship, inReference );
    XThread::TestCancelCurrentThread();
    return XFilterPivotIntegers( GetExistsVector(), itsColumnData, inRelationship, inReference );
}

XVector<std::int32_t>
XPivotSInt32Column::Filter( XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    return Filter( inRelationship, inReference.GetSFloat64() );
}

bool XPivotSInt32Column::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const
{
    return DoesPassCompare(
        GetDataFloat( inRow ), inRelationship, XToPivotReference<std::int32_t>( inReference ) );
}

bool XPivotSInt32Column::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    return DoesPass( inRow, inRelationship, inReference.GetSFloat64() );
}

bool XPivotSInt32Column::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference ) const
{
    return DoesPass( inRow, inRelationship, static_cast<double>( inReference ) );
}
