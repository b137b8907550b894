#pragma once

#include "Messaging/XRemoteMessage.h"

/// Reports the position of a job queue's jobs among those of all clients. Queued messages about the same job queue are
/// coalesced; the newest is delivered.
class KORVALE_API XNetJobQueuePositionChangedMessage : public XRemoteMessage
{
public:
    /// The expected wait is unknown.
    static constexpr std::uint32_t kUnknownWait = 0xFFFFFFFF;

    explicit XNetJobQueuePositionChangedMessage( XSpeaker* inSpeaker = nullptr );
    /// In the order of the queries below.
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
    /// The first waiting job of the job queue; 0 if none waits.
    std::uint32_t GetNextJobID() const { return itsNextJobID; }
    /// The number of other clients' jobs ahead of it: one for each other client with waiting jobs, for clients take turns.
    std::uint32_t GetPosition() const { return itsPosition; }
    /// Waiting and running jobs of the job queue.
    std::uint32_t GetWaitingJobs() const { return itsWaitingJobs; }
    std::uint32_t GetRunningJobs() const { return itsRunningJobs; }
    /// Workers of all nodes that accept jobs of any class that the queue has submitted.
    std::uint32_t GetWorkers() const { return itsWorkers; }
    /// Expected time until that job starts, in milliseconds, or `kUnknownWait`.
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
