#include "NetJobs/XAssignedJobInfo.h"

#include "Core/Streams/XStreamVectors.h"

using XAssignedJobInfo = XNetJobQueueNode::XAssignedJobInfo;

XAssignedJobInfo::XAssignedJobInfo(
    std::uint32_t inJobID, std::uint64_t inEstimatedSize, const XVector<std::uint32_t>& inJobDataIDs,
    const XVector<std::uint64_t>& inJobDataEstimatedSizes, std::uint32_t inClientID )
    : itsJobID( inJobID ), itsClientID( inClientID ), itsEstimatedSize( inEstimatedSize ),
      itsJobDataIDs( inJobDataIDs ), itsJobDataEstimatedSizes( inJobDataEstimatedSizes )
{
    if ( itsJobDataIDs.size() != itsJobDataEstimatedSizes.size() )
        XThrow( kErrorBadParameters );
}

XAssignedJobInfo::~XAssignedJobInfo() = default;

USize64 XAssignedJobInfo::GetFieldsUsage() const
{
    return sizeof( itsJobID ) + sizeof( itsClientID ) + sizeof( itsEstimatedSize ) +
        XGetValueVectorStreamUsage( itsJobDataIDs ) + XGetValueVectorStreamUsage( itsJobDataEstimatedSizes );
}

void XAssignedJobInfo::ReadStreamSelf( XStream& inStream )
{
    itsJobID = inStream.Read32();
    itsClientID = inStream.Read32();
    itsEstimatedSize = inStream.Read64();
    XReadVector( inStream, itsJobDataIDs );
    XReadVector( inStream, itsJobDataEstimatedSizes );
    if ( itsJobDataIDs.size() != itsJobDataEstimatedSizes.size() )
        XThrow( kErrorStreamCorrupted );
}

void XAssignedJobInfo::WriteStreamSelf( XStream& inStream ) const
{
    inStream.Write32( itsJobID );
    inStream.Write32( itsClientID );
    inStream.Write64( itsEstimatedSize );
    XWriteVector( inStream, itsJobDataIDs );
    XWriteVector( inStream, itsJobDataEstimatedSizes );
}
