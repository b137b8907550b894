#include "Messaging/XNetJobMessage.h"

#include "Core/Storables/XClassNumbers.h"
#include "Core/Streams/XStream.h"

#include <typeinfo>

XNetJobMessage::XNetJobMessage( XSpeaker* inSpeaker, std::uint32_t inMessageID, std::uint32_t inJobID )
    : XRemoteMessage( inSpeaker, inMessageID ), itsJobID( inJobID )
{
}

XNetJobMessage::~XNetJobMessage() = default;

XNetJobMessage* XNetJobMessage::Clone() const
{
    return new XNetJobMessage( *this );
}

bool XNetJobMessage::operator==( const XMessage& inOther ) const
{
    const auto* const other = dynamic_cast<const XNetJobMessage*>( &inOther );
    return other && XRemoteMessage::operator==( inOther ) && itsJobID == other->itsJobID;
}

std::uint64_t XNetJobMessage::GetCoalesceKey() const noexcept
{
    return typeid( *this ) == typeid( XNetJobMessage ) ? std::uint64_t( itsJobID ) << 32 | GetID() : 0;
}

XVersion XNetJobMessage::GetClassVersion()
{
    return XVersion( kClassNetJobMessage, 0 );
}

XVersion XNetJobMessage::GetSuperClassVersion()
{
    return XRemoteMessage::GetClassVersion();
}

XVersion XNetJobMessage::GetVersion() const
{
    return GetClassVersion();
}

USize64 XNetJobMessage::GetStreamUsage() const
{
    return XRemoteMessage::GetStreamUsage() + 2 * sizeof( std::uint32_t ); // version and job ID
}

void XNetJobMessage::ReadStream2( XStream& inStream, XOptions inOptions )
{
    XRemoteMessage::ReadStream2( inStream, inOptions );
    ReadCheckedVersion( inStream, GetClassVersion() );
    itsJobID = inStream.Read32();
}

void XNetJobMessage::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    XRemoteMessage::WriteStream2( inStream, inOptions );
    inStream.WriteVersion( GetClassVersion() );
    inStream.Write32( itsJobID );
}
