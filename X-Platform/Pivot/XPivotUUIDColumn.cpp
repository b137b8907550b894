#include "Pivot/XPivotUUIDColumn.h"

#include "Core/XException.h"

#include <algorithm>
#include <memory>

namespace
{
constexpr std::uint32_t kNotAnIdentifier = 1026;

double ToNumber( const XUUID& inUUID )
{
    return static_cast<double>( inUUID.GetHash() );
}
} // namespace

XPivotUUIDColumn::XPivotUUIDColumn() : XPivotColumnT( XUUID() ) {}

XPivotUUIDColumn::XPivotUUIDColumn(
    XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName, const XString& inUnits,
    std::uint32_t inRevision )
    : XPivotColumnT( inID, inColumnName, inChannelName, inUnits, inRevision, XUUID() )
{
}

XPivotUUIDColumn* XPivotUUIDColumn::CloneWithoutCopy() const
{
    auto column = std::make_unique<XPivotUUIDColumn>();
    column->CopySettings( *this );
    return column.release();
}

void XPivotUUIDColumn::SetData( const XString& inValue, std::int32_t inRow, bool inExists )
{
    XUUID uuid = itsDefaultValue;
    try
    {
        uuid.StringToUUID( inValue );
    }
    catch ( const XException& exception )
    {
        if ( inExists || exception.GetErrorNumber() != kNotAnIdentifier )
            throw;
    }
    SetValue( uuid, inRow, inExists );
}

double XPivotUUIDColumn::GetDataFloat( std::uint32_t inRow ) const
{
    return ToNumber( GetValue( inRow ) );
}

XString XPivotUUIDColumn::GetDataString( std::uint32_t inRow ) const
{
    return GetValue( inRow ).UUIDToString();
}

std::int32_t XPivotUUIDColumn::FindDataFloat( double inValue ) const
{
    const auto found = std::find_if(
        itsColumnData.begin(), itsColumnData.end(),
        [&]( const XUUID& inUUID ) { return ToNumber( inUUID ) == inValue; } );
    return found == itsColumnData.end() ? -1 : static_cast<std::int32_t>( found - itsColumnData.begin() );
}

bool XPivotUUIDColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const
{
    return DoesPassCompare( GetDataFloat( inRow ), inRelationship, inReference );
}

// A part of an identifier's text is no identifier, so what is contained stays a text.
bool XPivotUUIDColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    const XUUID& uuid = GetValue( inRow );
    if ( inRelationship == kFilterContains )
        return uuid.UUIDToString().Contains( inReference );
    return DoesPassCompare( uuid.Compare( XUUID( inReference ) ), inRelationship, 0.0 );
}

bool XPivotUUIDColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference ) const
{
    return DoesPass( inRow, inRelationship, static_cast<double>( inReference ) );
}
