#pragma once

#include "Core/Storables/XStorable.h"
#include "Messaging/XMessage.h"

/// Base of messages that can be stored and sent to another process. Speaker, thread and time metric belong to
/// the process and are not stored; the reader of a message sets its speaker.
class KORVALE_API XRemoteMessage : public XMessage, public XStorable
{
public:
    explicit XRemoteMessage( XSpeaker* inSpeaker = nullptr, std::uint32_t inID = 0 );
    ~XRemoteMessage() override;

    XRemoteMessage* Clone() const override;
    bool operator==( const XMessage& inOther ) const override;
    std::uint64_t GetCoalesceKey() const noexcept override;

    /// Distinguishes messages of one class; the sender defines its meaning.
    std::uint32_t GetID() const { return itsID; }

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

private:
    std::uint32_t itsID;
};
