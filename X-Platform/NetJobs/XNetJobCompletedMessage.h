#pragma once

#include "Core/Times/XTime.h"
#include "Messaging/XRemoteMessage.h"
#include "NetJobs/XNetJobResult.h"

#include <memory>

/// A job has been completed: when, and with what result. Each completion is told.
///
/// Reading a result of a class that this process has not registered is 1003.
class KORVALE_API XNetJobCompletedMessage : public XRemoteMessage
{
public:
    /// A message for reading.
    XNetJobCompletedMessage();
    /// Copies the result, of whatever derived class it is.
    XNetJobCompletedMessage(
        XSpeaker* inSpeaker, std::uint32_t inMessageID, std::uint32_t inJobID, const XTime& inCompletionTime,
        const XNetJobResult& inResult );
    XNetJobCompletedMessage( const XNetJobCompletedMessage& inOther );
    XNetJobCompletedMessage& operator=( const XNetJobCompletedMessage& inOther );
    ~XNetJobCompletedMessage() override;

    XNetJobCompletedMessage* Clone() const override;
    XCoalesce ShouldCoalesceQueueMessage( const XMessage& inNewMessage ) const override;
    /// Results are equal when they are stored as the same bytes.
    bool operator==( const XMessage& inOther ) const override;
    std::uint64_t GetCoalesceKey() const noexcept override;

    std::uint32_t GetJobID() const { return itsJobID; }
    const XTime& GetCompletionTime() const { return itsCompletionTime; }
    const XNetJobResult& GetResult() const { return *itsResult; }

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

private:
    std::uint32_t itsJobID = 0;
    XTime itsCompletionTime;
    std::unique_ptr<XNetJobResult> itsResult; // never null
};
