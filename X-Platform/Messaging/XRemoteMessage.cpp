#include "Messaging/XRemoteMessage.h"

#include "Core/Storables/XClassNumbers.h"
#include "Core/Streams/XStream.h"

#include <typeinfo>

XRemoteMessage::XRemoteMessage( XSpeaker* inSpeaker, std::uint32_t inID )
    : XMessage( inSpeaker ), itsID( inID )
{
}

XRemoteMessage::~XRemoteMessage() = default;

XRemoteMessage* XRemoteMessage::Clone() const
{
    return new XRemoteMessage( *this );
}

bool XRemoteMessage::operator==( const XMessage& inOther ) const
{
    const auto* const other = dynamic_cast<const XRemoteMessage*>( &inOther );
    return other && XMessage::operator==( inOther ) && itsID == other->itsID;
}

std::uint64_t XRemoteMessage::GetCoalesceKey() const noexcept
{
    return typeid( *this ) == typeid( XRemoteMessage ) ? itsID : 0;
}

XVersion XRemoteMessage::GetClassVersion()
{
    return XVersion( kClassRemoteMessage, 0 );
}

XVersion XRemoteMessage::GetSuperClassVersion()
{
    return XVersion( kClassNone );
}

XVersion XRemoteMessage::GetVersion() const
{
    return GetClassVersion();
}

USize64 XRemoteMessage::GetStreamUsage() const
{
    return 2 * sizeof( std::uint32_t ); // version and ID
}

void XRemoteMessage::ReadStream2( XStream& inStream, XOptions )
{
    ReadCheckedVersion( inStream, GetClassVersion() );
    itsID = inStream.Read32();
}

void XRemoteMessage::WriteStream2( XStream& inStream, XOptions ) const
{
    inStream.WriteVersion( GetClassVersion() );
    inStream.Write32( itsID );
}
