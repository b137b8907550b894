#include "Messaging/XMessage.h"

#include "System/WThreadID.h"

#include <typeinfo>

std::atomic<std::uint32_t> XMessage::sNextTimeMetric = 0;

std::uint32_t XMessage::TakeTimeMetric()
{
    return sNextTimeMetric.fetch_add( 1, std::memory_order_relaxed );
}

XMessage::XMessage( XSpeaker* inSpeaker )
    : itsSpeaker( inSpeaker ), itsSenderThreadID( WThreadID::GetCurrent() ), itsTimeMetric( TakeTimeMetric() )
{
}

XMessage::XMessage( const XMessage& inOther )
    : itsSpeaker( inOther.itsSpeaker ), itsSenderThreadID( inOther.itsSenderThreadID ),
      itsTimeMetric( TakeTimeMetric() )
{
}

XMessage::~XMessage() = default;

XMessage::XCoalesce XMessage::ShouldCoalesceQueueMessage( const XMessage& inNewMessage ) const
{
    return *this == inNewMessage ? kCoalesceMerge : kCoalesceNone;
}

bool XMessage::operator==( const XMessage& inOther ) const
{
    return itsSpeaker == inOther.itsSpeaker && typeid( *this ) == typeid( inOther );
}

bool XMessage::operator<( const XMessage& inOther ) const
{
    return *this != inOther && itsTimeMetric < inOther.itsTimeMetric;
}

std::uint64_t XMessage::GetCoalesceKey() const noexcept
{
    return 0;
}
