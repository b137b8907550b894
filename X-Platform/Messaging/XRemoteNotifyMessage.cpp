#include "Messaging/XRemoteNotifyMessage.h"

#include "Core/Storables/XClassNumbers.h"
#include "Core/Streams/XStream.h"

#include <typeinfo>

XRemoteNotifyMessage::XRemoteNotifyMessage( XSpeaker* inSpeaker, std::uint32_t inID, std::int64_t inValue )
    : XRemoteMessage( inSpeaker, inID ), itsValue( inValue )
{
}

XRemoteNotifyMessage::~XRemoteNotifyMessage() = default;

XRemoteNotifyMessage* XRemoteNotifyMessage::Clone() const
{
    return new XRemoteNotifyMessage( *this );
}

XMessage::XCoalesce XRemoteNotifyMessage::ShouldCoalesceQueueMessage( const XMessage& inNewMessage ) const
{
    return XRemoteMessage::operator==( inNewMessage ) ? kCoalesceReplace : kCoalesceNone;
}

bool XRemoteNotifyMessage::operator==( const XMessage& inOther ) const
{
    const auto* const other = dynamic_cast<const XRemoteNotifyMessage*>( &inOther );
    return other && XRemoteMessage::operator==( inOther ) && itsValue == other->itsValue;
}

std::uint64_t XRemoteNotifyMessage::GetCoalesceKey() const noexcept
{
    return typeid( *this ) == typeid( XRemoteNotifyMessage ) ? GetID() : 0;
}

XVersion XRemoteNotifyMessage::GetClassVersion()
{
    return XVersion( kClassRemoteNotifyMessage, 0 );
}

XVersion XRemoteNotifyMessage::GetSuperClassVersion()
{
    return XRemoteMessage::GetClassVersion();
}

XVersion XRemoteNotifyMessage::GetVersion() const
{
    return GetClassVersion();
}

USize64 XRemoteNotifyMessage::GetStreamUsage() const
{
    return XRemoteMessage::GetStreamUsage() + sizeof( std::uint32_t ) + sizeof( itsValue );
}

void XRemoteNotifyMessage::ReadStream2( XStream& inStream, XOptions inOptions )
{
    XRemoteMessage::ReadStream2( inStream, inOptions );
    ReadCheckedVersion( inStream, GetClassVersion() );
    itsValue = inStream.Read64S();
}

void XRemoteNotifyMessage::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    XRemoteMessage::WriteStream2( inStream, inOptions );
    inStream.WriteVersion( GetClassVersion() );
    inStream.Write64S( itsValue );
}
