#pragma once

#include "Jobs/TestJob.h"
#include "Jobs/XProgressStrategyChanger.h"
#include "Network/XNetEndpoint.h"
#include "Threads/TestThread.h"

/// An endpoint that listens on a free port of this machine.
struct TestListener
{
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

/// The error of an attempt to connect that its user aborts.
inline std::uint32_t AbortConnecting( XNetEndpoint& ioEndpoint, const XNetAddress& inAddress )
{
    AbortingStrategy strategy;
    const XProgressStrategyChanger changer( &strategy );
    return ErrorOf( [&] { ioEndpoint.ConnectWithProgress( inAddress, kNoTimeout ); } );
}

inline void AwaitDisconnecting( const XNetEndpoint& inEndpoint )
{
    EXPECT_TRUE( Await( [&] { return inEndpoint.GetState() == XNetEndpoint::kStateDisconnecting; } ) );
}

/// A disconnection takes bytes that come meanwhile, so that those behind them are not for a receiver. Returns what its
/// thread does.
inline std::int32_t ReceiveBesideADisconnection( XNetEndpoint& ioClient, XNetEndpoint& ioServer )
{
    char bytes[16];
    TestThread receiver(
        [&] { return static_cast<std::int32_t>( ioClient.ReceiveAnyData( bytes, 16, kNoTimeout ) ); } );
    TestThread closer( [&] { ioClient.Disconnect( kPatience ); } );
    receiver.StartThread();
    XThread::SleepCurrentThread( 5 ); // with less it might come too late to receive
    closer.StartThread();
    AwaitDisconnecting( ioClient );
    for ( int i = 0; i < 4; ++i )
        ioServer.SendData( "some bytes", 10, kPatience );
    ioServer.ForceDisconnect();
    receiver.WaitForTerminate( kPatience );
    closer.WaitForTerminate( kPatience );
    return receiver.GetThreadReturnCode();
}
