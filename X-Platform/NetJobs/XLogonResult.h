#pragma once

#include "Core/Streams/XStorableT.h"
#include "NetJobs/XNetJobQueue.h"

/// The control service's reply to a logon. A value.
class KORVALE_API XNetJobQueue::XLogonResult
    : public XStorableT<XNetJobQueue::XLogonResult, kClassLogonResult>
{
public:
    explicit XLogonResult( std::uint32_t inClientID = 0, bool inShouldStoreJobsForPossibleRetry = false );
    XLogonResult( const XLogonResult& ) = default;
    XLogonResult& operator=( const XLogonResult& ) = default;
    ~XLogonResult() override;

    /// The ID assigned to the client or node, valid while the control service runs.
    std::uint32_t GetClientID() const { return itsClientID; }

    /// Not transmitted: always false after reading.
    bool ShouldStoreJobsForPossibleRetry() const { return itsShouldStoreJobsForPossibleRetry; }

    USize64 GetFieldsUsage() const;
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    std::uint32_t itsClientID;
    bool itsShouldStoreJobsForPossibleRetry;
};
