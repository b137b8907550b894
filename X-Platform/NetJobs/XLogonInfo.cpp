#include "NetJobs/XLogonInfo.h"

#include "Core/Streams/XStreamVectors.h"
#include "NetJobs/Internal/XReadEnumeration.h"

using XLogonInfo = XNetJobQueueNode::XLogonInfo;

XLogonInfo::XLogonInfo(
    XNodeType inNodeType, const XAppVersion::XAppAndComputerInfo& inInfo,
    const XVector<XVersion>& inSupportedJobClasses, bool inHoldsJobs, std::uint32_t inWorkerCount )
    : itsNodeType( inNodeType ), itsInfo( inInfo ), itsSupportedJobClasses( inSupportedJobClasses ),
      itsHoldsJobs( inHoldsJobs ), itsWorkerCount( inWorkerCount )
{
}

XLogonInfo::~XLogonInfo() = default;

USize64 XLogonInfo::GetFieldsUsage() const
{
    constexpr USize64 kNumbers = 3; // of 32 bits, the envelope of the information included
    return kNumbers * sizeof( std::uint32_t ) + itsInfo.GetStreamUsage() +
        XGetValueVectorStreamUsage( itsSupportedJobClasses ) + sizeof( std::uint8_t );
}

void XLogonInfo::ReadStreamSelf( XStream& inStream )
{
    itsNodeType = XReadEnumeration( inStream, kNodeTemporary );
    itsInfo = *inStream.ReadObjectOf<XAppVersion::XAppAndComputerInfo>();
    XReadVector( inStream, itsSupportedJobClasses );
    itsHoldsJobs = inStream.ReadBool();
    itsWorkerCount = inStream.Read32();
}

void XLogonInfo::WriteStreamSelf( XStream& inStream ) const
{
    inStream.Write32( itsNodeType );
    inStream.WriteObject( itsInfo );
    XWriteVector( inStream, itsSupportedJobClasses );
    inStream.WriteBool( itsHoldsJobs );
    inStream.Write32( itsWorkerCount );
}
