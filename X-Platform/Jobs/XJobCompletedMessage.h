#pragma once

#include "Jobs/XJobQueue.h"
#include "Messaging/XMessage.h"

/// Sent by a queue, the speaker, when one of its jobs has been completed. These messages are never coalesced,
/// even if they are equal.
class KORVALE_API XJobQueue::XJobCompletedMessage : public XMessage
{
public:
    XJobCompletedMessage( XSpeaker* inSpeaker, std::int64_t inTag, std::uint32_t inResultCode );
    ~XJobCompletedMessage() override;

    XJobCompletedMessage* Clone() const override;
    XCoalesce ShouldCoalesceQueueMessage( const XMessage& inNewMessage ) const override;
    bool operator==( const XMessage& inOther ) const override;
    std::uint64_t GetCoalesceKey() const noexcept override;

    std::int64_t GetTag() const { return itsTag; }
    std::uint32_t GetResultCode() const { return itsResultCode; }

private:
    std::int64_t itsTag;
    std::uint32_t itsResultCode;
};
