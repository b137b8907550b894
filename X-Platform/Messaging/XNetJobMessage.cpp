#include "Messaging/XNetJobMessage.h"

#include <typeinfo>

XNetJobMessage::XNetJobMessage( XSpeaker* inSpeaker, std::uint32_t inMessageID, std::uint32_t inJobID )
    : XRemoteValueMessage( inSpeaker, inMessageID, inJobID )
{
}

XNetJobMessage::~XNetJobMessage() = default;

XNetJobMessage* XNetJobMessage::Clone() const
{
    return new XNetJobMessage( *this );
}

std::uint64_t XNetJobMessage::GetCoalesceKey() const noexcept
{
    return typeid( *this ) == typeid( XNetJobMessage ) ? std::uint64_t( GetJobID() ) << 32 | GetID() : 0;
}
