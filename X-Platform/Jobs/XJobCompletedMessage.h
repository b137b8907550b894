#pragma once

#include "Jobs/XJobQueue.h"
#include "Messaging/XMessage.h"

/// A job of the queue, which is the speaker, has been completed. Each completion is told, however alike they
/// are.
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
