#pragma once

#include "Core/Times/XTime.h"
#include "Messaging/XRemoteMessage.h"
#include "NetJobs/XNetJobResult.h"

#include <memory>

/// Reports the completion of a job, its time and its result. Never coalesced.
///
/// Errors: reading throws 1003 if the class of the result is not registered.
class KORVALE_API XNetJobCompletedMessage : public XRemoteMessage
{
public:
    /// An empty message, to be read into.
    XNetJobCompletedMessage();
    /// Clones the result, including fields of derived classes.
    XNetJobCompletedMessage(
        XSpeaker* inSpeaker, std::uint32_t inMessageID, std::uint32_t inJobID, const XTime& inCompletionTime,
        const XNetJobResult& inResult );
    XNetJobCompletedMessage( const XNetJobCompletedMessage& inOther );
    XNetJobCompletedMessage& operator=( const XNetJobCompletedMessage& inOther );
    ~XNetJobCompletedMessage() override;

    XNetJobCompletedMessage* Clone() const override;
    XCoalesce ShouldCoalesceQueueMessage( const XMessage& inNewMessage ) const override;
    /// Results are equal if their stored bytes are equal.
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
