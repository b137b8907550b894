#pragma once

#include "Messaging/XRemoteMessage.h"

/// Where the jobs of a job queue stand among those of all clients. Of those about one job queue that wait in a queue of
/// messages, only the newest is delivered.
class KORVALE_API XNetJobQueuePositionChangedMessage : public XRemoteMessage
{
public:
    /// The wait is not known.
    static constexpr std::uint32_t kUnknownWait = 0xFFFFFFFF;

    explicit XNetJobQueuePositionChangedMessage( XSpeaker* inSpeaker = nullptr );
    /// See the queries below.
    XNetJobQueuePositionChangedMessage(
        XSpeaker* inSpeaker, std::uint32_t inJobQueueID, std::uint32_t inNextJobID, std::uint32_t inPosition,
        std::uint32_t inWaitingJobs, std::uint32_t inRunningJobs, std::uint32_t inWorkers,
        std::uint32_t inEstimatedWaitMS );
    ~XNetJobQueuePositionChangedMessage() override;

    XNetJobQueuePositionChangedMessage* Clone() const override;
    XCoalesce ShouldCoalesceQueueMessage( const XMessage& inNewMessage ) const override;
    bool operator==( const XMessage& inOther ) const override;
    std::uint64_t GetCoalesceKey() const noexcept override;

    std::uint32_t GetJobQueueID() const { return itsJobQueueID; }
    /// Of the job queue's jobs that wait, the one that runs next; 0 when none waits.
    std::uint32_t GetNextJobID() const { return itsNextJobID; }
    /// Jobs of other clients that go before it.
    std::uint32_t GetPosition() const { return itsPosition; }
    /// Jobs of the job queue.
    std::uint32_t GetWaitingJobs() const { return itsWaitingJobs; }
    std::uint32_t GetRunningJobs() const { return itsRunningJobs; }
    /// Workers of all nodes that know how to run jobs of this queue.
    std::uint32_t GetWorkers() const { return itsWorkers; }
    /// Until that job runs, in milliseconds, or `kUnknownWait`.
    std::uint32_t GetEstimatedWaitMS() const { return itsEstimatedWaitMS; }

    static XVersion GetClassVersion();
    static XVersion GetSuperClassVersion();
    XVersion GetVersion() const override;
    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

private:
    std::uint32_t itsJobQueueID = 0;
    std::uint32_t itsNextJobID = 0;
    std::uint32_t itsPosition = 0;
    std::uint32_t itsWaitingJobs = 0;
    std::uint32_t itsRunningJobs = 0;
    std::uint32_t itsWorkers = 0;
    std::uint32_t itsEstimatedWaitMS = kUnknownWait;
};
