#include "NetJobs/XJobProgressInfo.h"

using XJobProgressInfo = XNetJobQueue::XJobProgressInfo;

XJobProgressInfo::XJobProgressInfo( std::uint32_t inJobID ) : itsJobID( inJobID ) {}

XJobProgressInfo::XJobProgressInfo(
    std::uint32_t inJobID, std::uint32_t inProgress, const XString& inMessage )
    : itsJobID( inJobID ), itsProgress( inProgress ), itsMessage( inMessage )
{
}

XJobProgressInfo::XJobProgressInfo(
    std::uint32_t inJobID, std::uint32_t inProgress, const XString& inMessage, std::uint32_t inObjectID,
    const XVersion& inObjectVersion, std::uint32_t inTransferProgress, std::uint64_t inBytesPerSecond )
    : itsJobID( inJobID ), itsProgress( inProgress ), itsMessage( inMessage ), itsObjectID( inObjectID ),
      itsObjectVersion( inObjectVersion ), itsDataTransferProgress( inTransferProgress ),
      itsBytesPerSecond( inBytesPerSecond )
{
}

XJobProgressInfo::~XJobProgressInfo() = default;

USize64 XJobProgressInfo::GetFieldsUsage() const
{
    constexpr USize64 kNumbers = 6; // of 32 bits
    return kNumbers * sizeof( std::uint32_t ) + itsMessage.GetStreamUsage() + sizeof( itsBytesPerSecond );
}

void XJobProgressInfo::ReadStreamSelf( XStream& inStream )
{
    itsJobID = inStream.Read32();
    itsProgress = inStream.Read32();
    inStream.ReadString( itsMessage );
    itsObjectID = inStream.Read32();
    itsObjectVersion = inStream.ReadVersion();
    itsDataTransferProgress = inStream.Read32();
    itsBytesPerSecond = inStream.Read64();
    itsChangeFlags = inStream.Read32();
}

void XJobProgressInfo::WriteStreamSelf( XStream& inStream ) const
{
    inStream.Write32( itsJobID );
    inStream.Write32( itsProgress );
    inStream.WriteString( itsMessage );
    inStream.Write32( itsObjectID );
    inStream.WriteVersion( itsObjectVersion );
    inStream.Write32( itsDataTransferProgress );
    inStream.Write64( itsBytesPerSecond );
    inStream.Write32( itsChangeFlags );
}
