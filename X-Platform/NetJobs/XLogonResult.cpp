#include "NetJobs/XLogonResult.h"

using XLogonResult = XNetJobQueue::XLogonResult;

XLogonResult::XLogonResult( std::uint32_t inClientID, bool inShouldStoreJobsForPossibleRetry )
    : itsClientID( inClientID ), itsShouldStoreJobsForPossibleRetry( inShouldStoreJobsForPossibleRetry )
{
}

XLogonResult::~XLogonResult() = default;

USize64 XLogonResult::GetFieldsUsage() const
{
    return sizeof( itsClientID ) + sizeof( std::uint8_t );
}

void XLogonResult::ReadStreamSelf( XStream& inStream )
{
    itsClientID = inStream.Read32();
    inStream.ReadBool();
    itsShouldStoreJobsForPossibleRetry = false;
}

void XLogonResult::WriteStreamSelf( XStream& inStream ) const
{
    inStream.Write32( itsClientID );
    inStream.WriteBool( false );
}
