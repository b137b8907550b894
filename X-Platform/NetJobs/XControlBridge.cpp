#include "NetJobs/XControlBridge.h"

XControlBridge::~XControlBridge()
{
    StopBridge();
}

XVersion XControlBridge::GetClassVersion()
{
    return XVersion( kClassControlBridge, 0 );
}

XVersion XControlBridge::GetSuperClassVersion()
{
    return XRPCBridge::GetClassVersion();
}

XVersion XControlBridge::GetVersion() const
{
    return GetClassVersion();
}

USize64 XControlBridge::GetStreamUsage() const
{
    return XRPCBridge::GetStreamUsage() + sizeof( std::uint32_t );
}

void XControlBridge::ReadStream2( XStream& inStream, XOptions inOptions )
{
    XRPCBridge::ReadStream2( inStream, inOptions );
    ReadCheckedVersion( inStream, GetClassVersion() );
}

void XControlBridge::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    XRPCBridge::WriteStream2( inStream, inOptions );
    inStream.WriteVersion( GetClassVersion() );
}
