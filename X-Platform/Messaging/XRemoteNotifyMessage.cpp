#include "Messaging/XRemoteNotifyMessage.h"

#include <typeinfo>

XRemoteNotifyMessage::XRemoteNotifyMessage( XSpeaker* inSpeaker, std::uint32_t inID, std::int64_t inValue )
    : XRemoteValueMessage( inSpeaker, inID, inValue )
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

std::uint64_t XRemoteNotifyMessage::GetCoalesceKey() const noexcept
{
    return typeid( *this ) == typeid( XRemoteNotifyMessage ) ? GetID() : 0;
}
