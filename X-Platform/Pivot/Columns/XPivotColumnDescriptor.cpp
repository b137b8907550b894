#include "Pivot/Columns/XPivotColumnDescriptor.h"

#include "Core/Streams/XStreamFields.h"
#include "Pivot/Columns/Internal/XPivotColumnIDRegistry.h"

namespace
{
// Windows-1252, split so that the hexadecimal escapes end where they should.
constexpr const char* kReplacements[][2] = {
    { "\xB5"
      "m2",
      "\xB5"
      "m\xB2" }, // square micrometres
    { "\xB5"
      "m3",
      "\xB5"
      "m\xB3" },          // cubic micrometres
    { "T_1/2", "T\xBD" }, // half-time
    { "^2", "\xB2" },
    { "^3", "\xB3" },
};

std::string DescribeID( XPivotColumnID inID )
{
    if ( inID == kPivotUserDefined )
        return "ID: 1 (user-defined)";
    const XString* const name = XPivotColumnIDRegistry::FindName( inID );
    return "ID: " + std::to_string( inID ) + ( name ? " " + XQuoteStoredText( *name ) : " (not registered)" );
}
} // namespace

XPivotColumnDescriptor::XPivotColumnDescriptor(
    XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName, const XString& inUnits )
    : itsID( inID ), itsColumnName( inColumnName ), itsChannelName( inChannelName ), itsUnits( inUnits )
{
}

USize64 XPivotColumnDescriptor::GetStreamUsage() const
{
    return 8 + itsColumnName.GetStreamUsage() + itsChannelName.GetStreamUsage() + itsUnits.GetStreamUsage();
}

void XPivotColumnDescriptor::ReadStream2( XStream& inStream, XOptions )
{
    ReadCheckedVersion( inStream, GetClassVersion() );
    XBeginField( inStream, "the column's ID" );
    itsID = static_cast<XPivotColumnID>( inStream.Read32S() );
    XEndField( inStream, [&] { return DescribeID( itsID ); } );
    XReadFieldString( inStream, "Name", itsColumnName );
    XReadFieldString( inStream, "Channel", itsChannelName );
    XReadFieldString( inStream, "Units", itsUnits );
}

void XPivotColumnDescriptor::WriteStream2( XStream& inStream, XOptions ) const
{
    inStream.WriteVersion( GetClassVersion() );
    inStream.Write32S( itsID );
    inStream.WriteString( itsColumnName );
    inStream.WriteString( itsChannelName );
    inStream.WriteString( itsUnits );
}

XString XPivotColumnDescriptor::GetDisplayName( bool inTwoLines ) const
{
    XString name = itsColumnName;
    if ( itsID != kPivotUserDefined )
    {
        if ( const XString* registered = XPivotColumnIDRegistry::FindName( itsID ) )
            name = *registered;
    }
    if ( !itsUnits.IsEmpty() )
        name = name + " (" + itsUnits + ")";
    if ( !itsChannelName.IsEmpty() )
        name = name + ( inTwoLines ? "\r\n(" : " (" ) + itsChannelName + ")";
    for ( const auto& [from, to] : kReplacements )
        name.Replace( from, to );
    return name;
}

bool XPivotColumnDescriptor::IsOfSameColumn( const XPivotColumnDescriptor& inOther ) const
{
    // The name of a column with an ID is that of the ID, in the language of the process; what was stored does
    // not count.
    if ( itsID == kPivotUserDefined )
        return *this == inOther;
    return itsID == inOther.itsID && itsChannelName == inOther.itsChannelName && itsUnits == inOther.itsUnits;
}

bool XPivotColumnDescriptor::operator==( const XPivotColumnDescriptor& inOther ) const
{
    return itsID == inOther.itsID && itsColumnName == inOther.itsColumnName &&
        itsChannelName == inOther.itsChannelName && itsUnits == inOther.itsUnits;
}

bool XPivotColumnDescriptor::operator<( const XPivotColumnDescriptor& inOther ) const
{
    if ( itsID != inOther.itsID )
        return itsID < inOther.itsID;
    if ( itsColumnName != inOther.itsColumnName )
        return itsColumnName < inOther.itsColumnName;
    if ( itsChannelName != inOther.itsChannelName )
        return itsChannelName < inOther.itsChannelName;
    return itsUnits < inOther.itsUnits;
}
