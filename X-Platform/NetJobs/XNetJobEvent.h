#pragma once

#include "Core/Streams/XStorableT.h"

/// An event about one job, exchanged in batches between clients, the control service and nodes. A value.
///
/// The table lists, for each kind, the sender and receiver (C client, S control service, N node), `value` and `bytes`.
///
/// | Kind | From, to | Value | Bytes |
/// | --- | --- | --- | --- |
/// | kSubmit | C S | class of the job (raw version) | the job as an object, in Intel order |
/// | kSubmitSuspended | C S | as kSubmit | as kSubmit |
/// | kAssign | S N | class of the job | the job |
/// | kStop | C S, S N | 0 | none |
/// | kSuspend, kResume | C S | 0 | none |
/// | kRecall | S N | 0 | none |
/// | kStarted | N S, S C | 0; to the client the node's ID | none |
/// | kReturned | N S | 0 | none |
/// | kHolds | N S | 0 | none |
/// | kEnded | N S, S C | microseconds of the run; to the client the node's ID | the result as an object, in Intel order |
/// | kFailed | S C | error number | text, UTF-8; may be empty |
/// | kTaken | C S, S N | 0 | none |
/// | kProgress | N S, S C | 0 | an XNetJobQueue::XJobProgressInfo as an object, in Intel order |
/// | kPosition | S C | 0 | an XNetJobQueuePositionChangedMessage as an object, in Intel order |
/// | kAcceptsNoJobs | N S | 0 | none |
/// | kMemoryInUse, kMemoryBudget | N S | bytes that the process of the node occupies; its memory manager may use | none |
///
/// kHolds: the node waits with the job or runs it. kTaken: the client has the result, or the job is unknown; the node
/// forgets it. kPosition, kAcceptsNoJobs and those of memory are about no job: their IDs of job queue and job are 0. To clients, kStarted and
/// kProgress are sent several times a second at most, and not for jobs that have ended meanwhile.
///
/// Errors: reading throws 1005, 1015, 1260.
class KORVALE_API XNetJobEvent : public XStorableT<XNetJobEvent, kClassNetJobEvent>
{
public:
    enum XKind : std::uint32_t
    {
        kSubmit = 0,
        kSubmitSuspended = 1,
        kAssign = 2,
        kStop = 3,
        kSuspend = 4,
        kResume = 5,
        kRecall = 6,
        kStarted = 7,
        kReturned = 8,
        kHolds = 9,
        kEnded = 10,
        kFailed = 11,
        kTaken = 12,
        kProgress = 13,
        kPosition = 14,
        kAcceptsNoJobs = 15,
        kMemoryInUse = 16,
        kMemoryBudget = 17,
    };

    /// The largest stored job or result. Batches are limited to less than the bytes of a remote call.
    static constexpr USize64 kMostBytes = 512 * 1024 * 1024;

    XNetJobEvent() = default;
    XNetJobEvent(
        XKind inKind, std::uint32_t inClientID, std::uint32_t inJobQueueID, std::uint32_t inJobID,
        std::uint64_t inValue = 0, XVector<std::uint8_t> inBytes = {} );
    XNetJobEvent( const XNetJobEvent& ) = default;
    XNetJobEvent( XNetJobEvent&& ) = default;
    XNetJobEvent& operator=( const XNetJobEvent& ) = default;
    XNetJobEvent& operator=( XNetJobEvent&& ) = default;
    ~XNetJobEvent() override;

    USize64 GetFieldsUsage() const;
    /// Throws 1005 also for an unknown kind.
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

    XKind kind = kSubmit;
    std::uint32_t clientID = 0;
    std::uint32_t jobQueueID = 0;
    std::uint32_t jobID = 0;
    std::uint64_t value = 0;
    XVector<std::uint8_t> bytes;
};
