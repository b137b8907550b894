#include "RemoteCalls/XLPCBridge.h"

#include "Network/XPipeEndpointImp.h"

XLPCBridge::XLPCBridge( XBridgeType inType, const XString& inPipeName )
    : XRPCBridge( inType ), itsPipeName( inPipeName )
{
    if ( !WPipe::IsValidName( inPipeName ) )
        XThrow( kErrorBadParameters );
}

XLPCBridge::XLPCBridge( XBridgeType inType ) : XRPCBridge( inType ) {}

XLPCBridge::~XLPCBridge()
{
    StopBridge();
}

void XLPCBridge::ConnectToPipe( std::uint32_t inTimeoutMS, bool inUseAutoReconnect )
{
    Connect( XNetAddress::GetLoopBackAddress( 0 ), inTimeoutMS, false, false, inUseAutoReconnect );
}

XNetEndpoint XLPCBridge::MakeEndpoint() const
{
    return XNetEndpoint( std::make_unique<XPipeEndpointImp>( itsPipeName ) );
}

XVersion XLPCBridge::GetClassVersion()
{
    return XVersion( kClassLPCBridge, 0 );
}

XVersion XLPCBridge::GetSuperClassVersion()
{
    return XRPCBridge::GetClassVersion();
}

XVersion XLPCBridge::GetVersion() const
{
    return GetClassVersion();
}

USize64 XLPCBridge::GetStreamUsage() const
{
    return XRPCBridge::GetStreamUsage() + sizeof( std::uint32_t );
}

void XLPCBridge::ReadStream2( XStream& inStream, XOptions inOptions )
{
    XRPCBridge::ReadStream2( inStream, inOptions );
    ReadCheckedVersion( inStream, GetClassVersion() );
}

void XLPCBridge::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    XRPCBridge::WriteStream2( inStream, inOptions );
    inStream.WriteVersion( GetClassVersion() );
}
