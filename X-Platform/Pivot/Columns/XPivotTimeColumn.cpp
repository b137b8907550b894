#include "Pivot/Columns/XPivotTimeColumn.h"

#include "Ground/XErrorNumbers.h"
#include "Pivot/Columns/Internal/XPivotConversions.h"
#include "Pivot/Rows/Internal/XPivotComparison.h"

#include <cmath>
#include <limits>

namespace
{

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

double TimeToNumber( const XTime& inTime )
{
    return static_cast<double>( inTime.GetMicroSeconds() );
}

XString TimeToText( const XTime& inTime )
{
    return inTime.GetTimeString( kDateISO, kTimeMicroSeconds );
}

bool Passes( const XTime& inTime, XPivotFilterRelationship inRelationship, const XTime& inReference )
{
    if ( inRelationship == kFilterContains )
        return TimeToText( inTime ).Contains( TimeToText( inReference ) );
    return XComparePivotValues( inTime, inRelationship, inReference );
}
} // namespace

void XPivotTimeColumn::SetData( double inValue, std::int32_t inRow, bool inExists )
{
    SetValue( std::isnan( inValue ) ? itsDefaultValue : ToTime( inValue ), inRow, inExists );
}

void XPivotTimeColumn::SetData( const XString& inValue, std::int32_t inRow, bool inExists )
{
    const auto read = [&] { return XTime( inValue, XString() ); };
    SetValue( XReadPivotText( inExists, kErrorTimeRange, itsDefaultValue, read ), inRow, inExists );
}

double XPivotTimeColumn::GetDataFloat( std::uint32_t inRow ) const
{
    return TimeToNumber( GetValue( inRow ) );
}

XString XPivotTimeColumn::GetDataString( std::uint32_t inRow ) const
{
    return TimeToText( GetValue( inRow ) );
}

std::int32_t XPivotTimeColumn::FindDataFloat( double inValue ) const
{
    return FindNumber( inValue, TimeToNumber );
}

XPivotColumn::XFloatBlock XPivotTimeColumn::GetFloatBlock(
    std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const
{
    return ConvertBlock( inFirstRow, inMaxCount, ioScratch, TimeToNumber );
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
