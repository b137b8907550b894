#include "NetJobs/XJobAttachmentInfo.h"

#include "Core/Streams/XStreamVectors.h"

using XJobAttachmentInfo = XNetJobQueue::XJobAttachmentInfo;

namespace
{

// Constants of the layout.
constexpr std::uint32_t kFirstConstant = 0;
constexpr std::uint32_t kSecondConstant = 2;

} // namespace

XJobAttachmentInfo::XJobAttachmentInfo(
    std::uint32_t inJobID, const XVersion& inClassID, const XString& inDescription,
    const XVector<std::uint32_t>& inSharedDataIDs, std::uint64_t inDataSize, bool inIsOutput )
    : itsJobID( inJobID ), itsClassID( inClassID ), itsDescription( inDescription ),
      itsSharedDataIDs( inSharedDataIDs ), itsDataSize( inDataSize ), itsIsOutput( inIsOutput )
{
}

XJobAttachmentInfo::~XJobAttachmentInfo() = default;

USize64 XJobAttachmentInfo::GetFieldsUsage() const
{
    constexpr USize64 kNumbers = 4; // of 32 bits
    return kNumbers * sizeof( std::uint32_t ) + itsDescription.GetStreamUsage() +
        XGetValueVectorStreamUsage( itsSharedDataIDs ) + sizeof( itsDataSize ) + sizeof( std::uint8_t );
}

void XJobAttachmentInfo::ReadStreamSelf( XStream& inStream )
{
    itsJobID = inStream.Read32();
    itsClassID = inStream.ReadVersion();
    inStream.ReadString( itsDescription );
    const std::uint32_t first = inStream.Read32();
    const std::uint32_t second = inStream.Read32();
    if ( first != kFirstConstant || second != kSecondConstant )
        XThrow( kErrorStreamCorrupted );
    XReadVector( inStream, itsSharedDataIDs );
    itsDataSize = inStream.Read64();
    itsIsOutput = inStream.ReadBool();
}

void XJobAttachmentInfo::WriteStreamSelf( XStream& inStream ) const
{
    inStream.Write32( itsJobID );
    inStream.WriteVersion( itsClassID );
    inStream.WriteString( itsDescription );
    inStream.Write32( kFirstConstant );
    inStream.Write32( kSecondConstant );
    XWriteVector( inStream, itsSharedDataIDs );
    inStream.Write64( itsDataSize );
    inStream.WriteBool( itsIsOutput );
}
