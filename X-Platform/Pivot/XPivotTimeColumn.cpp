#include "Pivot/XPivotTimeColumn.h"

#include "Core/XException.h"
#include "Pivot/XPivotRowFilter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace
{
constexpr std::uint32_t kNotATime = 1007;

/// A count of microseconds: cut off towards zero and held within 64 bits.
XTime ToTime( double inMicroSeconds )
{
    constexpr double kEnd = 9223372036854775808.0; // 2^63, the first double past the range
    if ( inMicroSeconds >= kEnd )
        return std::numeric_limits<std::int64_t>::max();
    if ( inMicroSeconds < -kEnd )
        return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>( inMicroSeconds );
}

double ToNumber( const XTime& inTime )
{
    return static_cast<double>( inTime.GetMicroSeconds() );
}

XString ToText( const XTime& inTime )
{
    return inTime.GetTimeString( kDateISO, kTimeMicroSeconds );
}

bool Passes( const XTime& inTime, XPivotFilterRelationship inRelationship, const XTime& inReference )
{
    switch ( inRelationship )
    {
    case kFilterNotEqual:
        return inTime != inReference;
    case kFilterEqual:
        return inTime == inReference;
    case kFilterLess:
        return inTime < inReference;
    case kFilterGreater:
        return inTime > inReference;
    case kFilterContains:
        return ToText( inTime ).Contains( ToText( inReference ) );
    case kFilterLessOrEqual:
        return inTime <= inReference;
    case kFilterGreaterOrEqual:
        return inTime >= inReference;
    default:
        XAssert( false );
    }
}
} // namespace

XPivotTimeColumn::XPivotTimeColumn() : XPivotColumnT( XTime( 0 ) ) {}

XPivotTimeColumn::XPivotTimeColumn(
    XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName, const XString& inUnits,
    std::uint32_t inRevision )
    : XPivotColumnT( inID, inColumnName, inChannelName, inUnits, inRevision, XTime( 0 ) )
{
}

XPivotTimeColumn* XPivotTimeColumn::CloneWithoutCopy() const
{
    auto column = std::make_unique<XPivotTimeColumn>();
    column->CopySettings( *this );
    return column.release();
}

void XPivotTimeColumn::SetData( double inValue, std::int32_t inRow, bool inExists )
{
    SetValue( std::isnan( inValue ) ? itsDefaultValue : ToTime( inValue ), inRow, inExists );
}

void XPivotTimeColumn::SetData( const XString& inValue, std::int32_t inRow, bool inExists )
{
    XTime time = itsDefaultValue;
    try
    {
        time = XTime( inValue, XString() );
    }
    catch ( const XException& exception )
    {
        if ( inExists || exception.GetErrorNumber() != kNotATime )
            throw;
    }
    SetValue( time, inRow, inExists );
}

double XPivotTimeColumn::GetDataFloat( std::uint32_t inRow ) const
{
    return ToNumber( GetValue( inRow ) );
}

XString XPivotTimeColumn::GetDataString( std::uint32_t inRow ) const
{
    return ToText( GetValue( inRow ) );
}

std::int32_t XPivotTimeColumn::FindDataFloat( double inValue ) const
{
    const auto found = std::find_if(
        itsColumnData.begin(), itsColumnData.end(),
        [&]( const XTime& inTime ) { return ToNumber( inTime ) == inValue; } );
    return found == itsColumnData.end() ? -1 : static_cast<std::int32_t>( found - itsColumnData.begin() );
}

XPivotColumn::XFloatBlock XPivotTimeColumn::GetFloatBlock(
    std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const
{
    if ( inFirstRow >= GetColumnSize() )
        return { nullptr, nullptr, 0 };
    const std::uint32_t count = std::min( inMaxCount, GetColumnSize() - inFirstRow );
    ioScratch.resize( count );
    std::transform(
        itsColumnData.data() + inFirstRow, itsColumnData.data() + inFirstRow + count, ioScratch.data(),
        ToNumber );
    return { ioScratch.data(), GetExistsVector().data() + inFirstRow, count };
}

bool XPivotTimeColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const
{
    if ( std::isnan( inReference ) )
        return inRelationship == kFilterNotEqual;
    return Passes( GetValue( inRow ), inRelationship, ToTime( inReference ) );
}

bool XPivotTimeColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    return Passes( GetValue( inRow ), inRelationship, XTime( inReference, XString() ) );
}

bool XPivotTimeColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference ) const
{
    return Passes( GetValue( inRow ), inRelationship, XTime( inReference ) );
}
