#pragma once

#include "Messaging/XRemoteValueMessage.h"

/// A remote message about a job of a job queue; the base of messages that report on jobs.
class KORVALE_API XNetJobMessage : public XRemoteValueMessage<kClassNetJobMessage, std::uint32_t>
{
public:
    explicit XNetJobMessage(
        XSpeaker* inSpeaker = nullptr, std::uint32_t inMessageID = 0, std::uint32_t inJobID = 0 );
    ~XNetJobMessage() override;

    XNetJobMessage* Clone() const override;
    std::uint64_t GetCoalesceKey() const noexcept override;

    std::uint32_t GetJobID() const { return GetStoredValue(); }
};
