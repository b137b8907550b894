#pragma once

#include "Network/XNetEndpoint.h"
#include "TestErrors.h"
#include "Threads/TestThread.h"

#include <memory>

/// An endpoint that listens on a free port of this machine.
class TestListener
{
public:
    explicit TestListener( const XNetEndpoint& inEndpoint = XNetEndpoint() ) : itsEndpoint( inEndpoint )
    {
        itsEndpoint.Bind( 0 );
    }

    XNetAddress GetAddress() const { return XNetAddress::GetLoopBackAddress( itsEndpoint.GetLocalPort() ); }
    std::unique_ptr<XNetEndpoint> Accept() { return std::unique_ptr<XNetEndpoint>( itsEndpoint.Listen() ); }
    XNetEndpoint& operator*() { return itsEndpoint; }
    XNetEndpoint* operator->() { return &itsEndpoint; }

private:
    XNetEndpoint itsEndpoint;
};

/// Two endpoints that are connected with each other.
struct TestConnection
{
    TestConnection()
    {
        TestListener listener;
        client.Connect( listener.GetAddress(), kPatience );
        server = listener.Accept();
    }

    XNetEndpoint client;
    std::unique_ptr<XNetEndpoint> server;
};
