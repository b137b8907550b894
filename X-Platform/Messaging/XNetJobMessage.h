#pragma once

#include "Messaging/XRemoteMessage.h"

/// A remote message about a job of a job queue; the base of messages that report on jobs.
class KORVALE_API XNetJobMessage : public XRemoteMessage
{
public:
    explicit XNetJobMessage(
        XSpeaker* inSpeaker = nullptr, std::uint32_t inMessageID = 0, std::uint32_t inJobID = 0 );
    ~XNetJobMessage() override;

    XNetJobMessage* Clone() const override;
    bool operator==( const XMessage& inOther ) const override;
    std::uint64_t GetCoalesceKey() const noexcept override;

    std::uint32_t GetJobID() const { return itsJobID; }

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

private:
    std::uint32_t itsJobID;
};
