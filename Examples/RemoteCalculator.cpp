// A bridge of an application's own, its server and a client, in one process for the sake of brevity.

#include "RemoteCalls/XRPCResponder.h"
#include "Servers/XNetServer.h"
#include "Startup/WInitCore.h"

#include <iostream>

/// What both ends know: the methods, and the version by which a server recognises its clients.
class CalculatorBridge : public XRPCBridge
{
public:
    using XRPCBridge::XRPCBridge;

    static XVersion GetClassVersion() { return XVersion( 40000, 0 ); }
    XVersion GetVersion() const override { return GetClassVersion(); }

    XREMOTE_METHOD( 2000, double, Divide, double, double )
    XREMOTE_METHOD( 2001, XVector<double>, Scale, XVector<double>, double )
    XREMOTE_METHOD_ONCE( 2002, void, Print, XString )
};

/// What the server does when it is called.
class CalculatorServer : public CalculatorBridge
{
public:
    using CalculatorBridge::CalculatorBridge;

    double DivideSelf( double inLeft, double inRight ) override
    {
        return inRight != 0 ? inLeft / inRight : throw XException( kErrorBadParameters );
    }
    XVector<double> ScaleSelf( XVector<double> inValues, double inFactor ) override
    {
        for ( double& value : inValues )
            value *= inFactor;
        return inValues;
    }
    void PrintSelf( XString inText ) override { std::cout << inText.GetConstCharPtr() << std::endl; }
};

int main()
{
    const WInitCore core;
    const XRPCCipher cipher(
        XEncryptedNetStream::kAlgorithmRC4, "sixteen bytes ok" ); // XDeploymentKeys has real ones
    XNetServer server( "calculator" );
    XServeBridge<CalculatorServer>( server, XRPCBridge::kServer, cipher );
    server.Start( 0 );

    const auto client = XMakeRef<CalculatorBridge>( XRPCBridge::kClient, cipher );
    client->Connect( XNetAddress::GetLoopBackAddress( server.GetPort() ), 5000 );
    std::cout << "3 / 4 = " << client->Divide( 3, 4 ) << ", twice 21 = " << client->Scale( { 21 }, 2 )[0]
              << std::endl;
    std::cout << "1 / 0 " << ( client->Divide_NoThrow( 1, 0 ) ? "has" : "has no" ) << " result" << std::endl;
    client->Print_NoWaitForReturn( "printed by the server" );
    client->Disconnect(); // when the server has got what was sent
}
