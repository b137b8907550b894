#pragma once

#include "Messaging/XRemoteValueMessage.h"

/// Reports the latest value of the quantity that its ID identifies to listeners, including those in other
/// processes. Of queued messages with the same ID only the newest is delivered, in its own position.
class KORVALE_API XRemoteNotifyMessage : public XRemoteValueMessage<kClassRemoteNotifyMessage, std::int64_t>
{
public:
    explicit XRemoteNotifyMessage(
        XSpeaker* inSpeaker = nullptr, std::uint32_t inID = 0, std::int64_t inValue = 0 );
    ~XRemoteNotifyMessage() override;

    XRemoteNotifyMessage* Clone() const override;
    XCoalesce ShouldCoalesceQueueMessage( const XMessage& inNewMessage ) const override;
    std::uint64_t GetCoalesceKey() const noexcept override;

    std::int64_t GetValue() const { return GetStoredValue(); }
};
