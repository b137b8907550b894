#pragma once

#include "Messaging/XRemoteValueMessage.h"

/// Tells listeners, in other processes too, the latest value of something: of what its ID names. Of those with one ID that
/// wait in a queue, only the newest is delivered, at its own place.
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
