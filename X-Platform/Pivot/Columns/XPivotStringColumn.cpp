#include "Pivot/Columns/XPivotStringColumn.h"

#include "Core/Streams/XStreamFields.h"
#include "Pivot/Columns/Internal/XPivotConversions.h"
#include "Pivot/Columns/Internal/XPivotTextPool.h"

#include <limits>

XPivotStringColumn::XOwnPool::XOwnPool() noexcept = default;
XPivotStringColumn::XOwnPool::XOwnPool( const XOwnPool& ) noexcept {}
XPivotStringColumn::XOwnPool::~XOwnPool() = default;

XPivotTextPool& XPivotStringColumn::XOwnPool::Get()
{
    if ( !itsPool )
        itsPool = std::make_unique<XPivotTextPool>();
    return *itsPool;
}

void XPivotStringColumn::SetValue( const XString& inValue, std::int32_t inRow, bool inExists )
{
    XPivotColumnT::SetValue( itsTextPool.Get().Share( inValue ), inRow, inExists );
}

void XPivotStringColumn::AppendValue( const XString& inValue, bool inExists )
{
    XPivotColumnT::AppendValue( itsTextPool.Get().Share( inValue ), inExists );
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
    return FindNumber( inValue, XFindPivotNumber );
}

XPivotColumn::XFloatBlock XPivotStringColumn::GetFloatBlock(
    std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const
{
    return ConvertBlock(
        inFirstRow, inMaxCount, ioScratch,
        []( const XString& inText )
        { return XFindPivotNumber( inText ).value_or( std::numeric_limits<double>::quiet_NaN() ); } );
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

void XPivotStringColumn::ReadSparseColumnDataSelf( XStream& inStream, USize inStartRow, USize inRunLength )
{
    const USize endRow = inStartRow + inRunLength;
    XAssert( endRow <= itsColumnData.size() );
    XPivotTextPool& pool = itsTextPool.Get();
    for ( USize row = inStartRow; row < endRow; ++row )
    {
        XBeginPart( inStream );
        pool.Read( inStream, itsColumnData[row] );
    }
}
