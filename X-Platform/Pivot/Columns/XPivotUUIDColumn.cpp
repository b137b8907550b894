#include "Pivot/Columns/XPivotUUIDColumn.h"

#include "Pivot/Columns/Internal/XPivotConversions.h"

namespace
{
double UUIDToNumber( const XUUID& inUUID )
{
    return static_cast<double>( inUUID.GetHash() );
}
} // namespace

void XPivotUUIDColumn::SetData( const XString& inValue, std::int32_t inRow, bool inExists )
{
    SetValue( XReadPivotUUID( inValue, inExists, itsDefaultValue ), inRow, inExists );
}

double XPivotUUIDColumn::GetDataFloat( std::uint32_t inRow ) const
{
    return UUIDToNumber( GetValue( inRow ) );
}

XString XPivotUUIDColumn::GetDataString( std::uint32_t inRow ) const
{
    return GetValue( inRow ).UUIDToString();
}

std::int32_t XPivotUUIDColumn::FindDataFloat( double inValue ) const
{
    return FindNumber( inValue, UUIDToNumber );
}

bool XPivotUUIDColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const
{
    return DoesPassCompare( GetDataFloat( inRow ), inRelationship, inReference );
}

// A part of an identifier's text is not an identifier, so kFilterContains compares texts.
bool XPivotUUIDColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    const XUUID& uuid = GetValue( inRow );
    if ( inRelationship == kFilterContains )
        return uuid.UUIDToString().Contains( inReference );
    return DoesPassCompare( uuid.Compare( XUUID( inReference ) ), inRelationship, 0.0 );
}
