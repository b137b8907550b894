#include "NetJobs/XConnectionInfo.h"

#include "NetJobs/Internal/XReadEnumeration.h"

using XConnectionInfo = XNetJobQueue::XConnectionInfo;

XConnectionInfo::XConnectionInfo(
    std::uint32_t inJobQueueID, std::uint32_t inSourceID, XRemoteType inSourceType,
    std::uint32_t inDestinationID, XRemoteType inDestinationType, XDataTransferMethod inMethod,
    const XNetAddress& inDestinationAddress )
    : itsJobQueueID( inJobQueueID ), itsSourceID( inSourceID ), itsSourceType( inSourceType ),
      itsDestinationID( inDestinationID ), itsDestinationType( inDestinationType ), itsMethod( inMethod ),
      itsDestinationAddress( inDestinationAddress )
{
}

XConnectionInfo::~XConnectionInfo() = default;

USize64 XConnectionInfo::GetFieldsUsage() const
{
    constexpr USize64 kNumbers = 7; // of 32 bits, the address's envelope included
    return kNumbers * sizeof( std::uint32_t ) + itsDestinationAddress.GetStreamUsage();
}

void XConnectionInfo::ReadStreamSelf( XStream& inStream )
{
    itsJobQueueID = inStream.Read32();
    itsSourceID = inStream.Read32();
    itsSourceType = XReadEnumeration( inStream, kRemoteNode );
    itsDestinationID = inStream.Read32();
    itsDestinationType = XReadEnumeration( inStream, kRemoteNode );
    itsMethod = XReadEnumeration( inStream, kTransferSharedFiles );
    itsDestinationAddress = *inStream.ReadObjectOf<XNetAddress>();
}

void XConnectionInfo::WriteStreamSelf( XStream& inStream ) const
{
    inStream.Write32( itsJobQueueID );
    inStream.Write32( itsSourceID );
    inStream.Write32( itsSourceType );
    inStream.Write32( itsDestinationID );
    inStream.Write32( itsDestinationType );
    inStream.Write32( itsMethod );
    inStream.WriteObject( itsDestinationAddress );
}
