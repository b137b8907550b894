#pragma once

#include "Core/Streams/XStorableT.h"
#include "NetJobs/XNetJobQueue.h"

/// The control service's answer to a logon. A value.
class KORVALE_API XNetJobQueue::XLogonResult
    : public XStorableT<XNetJobQueue::XLogonResult, kClassLogonResult>
{
public:
    explicit XLogonResult( std::uint32_t inClientID = 0, bool inShouldStoreJobsForPossibleRetry = false );
    XLogonResult( const XLogonResult& ) = default;
    XLogonResult& operator=( const XLogonResult& ) = default;
    ~XLogonResult() override;

    /// The client's or the node's ID for as long as the control service runs.
    std::uint32_t GetClientID() const { return itsClientID; }

    /// Not transmitted: false in what was read, whatever it was.
    bool ShouldStoreJobsForPossibleRetry() const { return itsShouldStoreJobsForPossibleRetry; }

    USize64 GetFieldsUsage() const;
    void ReadStreamSelf( XStream& inStream );
    void WriteStreamSelf( XStream& inStream ) const;

private:
    std::uint32_t itsClientID;
    bool itsShouldStoreJobsForPossibleRetry;
};
