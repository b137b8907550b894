#include "Services/XAppAndComputerInfo.h"

#include "Memory/WMemoryLimits.h"
#include "Sockets/WNetwork.h"
#include "System/WComputer.h"
#include "System/WProcessors.h"

namespace
{

XUUID MakeID()
{
    XUUID id;
    id.GenerateNewID();
    return id;
}

const XUUID& GetIDOfProcess()
{
    static const XUUID sID = MakeID();
    return sID;
}

} // namespace

XAppVersion::XAppAndComputerInfo::~XAppAndComputerInfo() = default;

XAppVersion::XAppAndComputerInfo XAppVersion::XAppAndComputerInfo::GetCurrent( const XString& inName )
{
    XAppAndComputerInfo info;
    info.itsAppVersion = XAppVersion::GetCurrent();
    info.itsInstanceID = GetIDOfProcess();
    info.itsComputerName = WNetwork::GetLocalName();
    info.itsName = inName.IsEmpty() ? info.itsComputerName : inName;
    info.itsProcessID = WComputer::GetProcessID();
    info.itsSystemDescription = WComputer::GetSystemDescription();
    info.itsProcessorCount = WProcessors::GetCount();
    info.itsMemoryBytes = WMemoryLimits::GetBytes();
    return info;
}

USize64 XAppVersion::XAppAndComputerInfo::GetFieldsUsage() const
{
    return itsAppVersion.GetStreamUsage() + XUUID::GetStreamUsage() + itsName.GetStreamUsage() +
        sizeof( itsProcessID ) + itsComputerName.GetStreamUsage() + itsSystemDescription.GetStreamUsage() +
        sizeof( itsProcessorCount ) + sizeof( itsMemoryBytes );
}

void XAppVersion::XAppAndComputerInfo::ReadStreamSelf( XStream& inStream )
{
    itsAppVersion.ReadStream2( inStream );
    itsInstanceID.ReadStream2( inStream );
    inStream.ReadString( itsName );
    itsProcessID = inStream.Read32();
    inStream.ReadString( itsComputerName );
    inStream.ReadString( itsSystemDescription );
    itsProcessorCount = inStream.Read32();
    itsMemoryBytes = inStream.Read64();
}

void XAppVersion::XAppAndComputerInfo::WriteStreamSelf( XStream& inStream ) const
{
    itsAppVersion.WriteStream2( inStream );
    itsInstanceID.WriteStream2( inStream );
    inStream.WriteString( itsName );
    inStream.Write32( itsProcessID );
    inStream.WriteString( itsComputerName );
    inStream.WriteString( itsSystemDescription );
    inStream.Write32( itsProcessorCount );
    inStream.Write64( itsMemoryBytes );
}
