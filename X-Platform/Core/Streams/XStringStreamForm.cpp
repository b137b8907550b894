#include "Core/Strings/XString.h"

#include "Core/Storables/XClassNumbers.h"
#include "Core/Streams/XStream.h"

XString::XString( XStream& inStream ) : XString()
{
    ReadStream2( inStream );
}

XVersion XString::GetClassVersion()
{
    return XVersion( kClassString, 0 );
}

XVersion XString::GetSuperClassVersion()
{
    return XVersion( kClassNone );
}

XVersion XString::GetVersion() const
{
    return GetClassVersion();
}

XString* XString::Clone() const
{
    return new XString( *this );
}

USize64 XString::GetStreamUsage() const
{
    constexpr USize64 kShortForm = 4;
    constexpr USize64 kLongForm = 12;
    const USize64 theLength = GetLength();
    return theLength + ( theLength < 0xffffffff ? kShortForm : kLongForm );
}

void XString::ReadStream2( XStream& inStream, XOptions )
{
    ReadCheckedVersion( inStream, GetClassVersion() );
    ReadStreamSelf( inStream );
}

void XString::WriteStream2( XStream& inStream, XOptions ) const
{
    inStream.WriteVersion( GetClassVersion() );
    WriteStreamSelf( inStream );
}

void XString::WriteStreamSelf( XStream& inStream ) const
{
    const USize64 theLength = GetLength();
    XAssert( theLength <= 0xffffffff );
    inStream.Write32( static_cast<std::uint32_t>( theLength ) );
    if ( theLength > 0 )
        inStream.WriteBuffer8( GetConstCharPtr(), theLength );
}

void XString::ReadStreamSelf( XStream& inStream )
{
    inStream.ReadStringBytes( *this, inStream.Read32() );
}
