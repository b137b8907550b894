#include "Jobs/XJobCompletedMessage.h"

#include <typeinfo>

XJobQueue::XJobCompletedMessage::XJobCompletedMessage(
    XSpeaker* inSpeaker, std::int64_t inTag, std::uint32_t inResultCode )
    : XMessage( inSpeaker ), itsTag( inTag ), itsResultCode( inResultCode )
{
}

XJobQueue::XJobCompletedMessage::~XJobCompletedMessage() = default;

XJobQueue::XJobCompletedMessage* XJobQueue::XJobCompletedMessage::Clone() const
{
    return new XJobCompletedMessage( *this );
}

XMessage::XCoalesce XJobQueue::XJobCompletedMessage::ShouldCoalesceQueueMessage( const XMessage& ) const
{
    return kCoalesceNone;
}

bool XJobQueue::XJobCompletedMessage::operator==( const XMessage& inOther ) const
{
    if ( !XMessage::operator==( inOther ) )
        return false;
    const auto& other = dynamic_cast<const XJobCompletedMessage&>( inOther );
    return itsTag == other.itsTag && itsResultCode == other.itsResultCode;
}

/// Unlike that of any other: nothing coalesces.
std::uint64_t XJobQueue::XJobCompletedMessage::GetCoalesceKey() const noexcept
{
    return typeid( *this ) == typeid( XJobCompletedMessage ) ? GetTimeMetric() : 0;
}
