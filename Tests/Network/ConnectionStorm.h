#pragma once

#include "Network/TestConnection.h"
#include "TestFolder.h"

/// Sends back what comes in on each of its connections, on a thread for each.
struct EchoServer
{
    explicit EchoServer( TestListener& inListener ) : itsListener( inListener ) { itsAcceptor.StartThread(); }
    ~EchoServer()
    {
        itsAcceptor.StopThread();
        itsThreads.clear(); // each ends when its client has gone
    }

private:
    std::int32_t Accept()
    {
        for ( ;; )
        {
            const std::shared_ptr<XNetEndpoint> connection( itsListener.Accept() );
            itsThreads.remove_if( []( const TestThread& inThread ) { return !inThread.IsThreadRunning(); } );
            itsThreads.emplace_back( [connection] { return Echo( *connection ); } );
            itsThreads.back().StartThread();
        }
    }

    static std::int32_t Echo( XNetEndpoint& inConnection )
    {
        for ( ;; )
        {
            std::uint64_t value = 0;
            inConnection.ReceiveData( &value, sizeof value, kNoTimeout );
            inConnection.SendData( &value, sizeof value, kNoTimeout );
        }
    }

    TestListener& itsListener;
    std::list<TestThread> itsThreads; // the acceptor's, until it has ended
    TestThread itsAcceptor{ [this] { return Accept(); } };
};

/// The endpoints that clients use at the moment, so that others can get at them.
struct Slots
{
    void Set( unsigned inSlot, const std::shared_ptr<XNetEndpoint>& inEndpoint )
    {
        const std::lock_guard lock( itsMutex );
        itsEndpoints[inSlot] = inEndpoint;
    }
    std::shared_ptr<XNetEndpoint> Get( unsigned inSlot )
    {
        const std::lock_guard lock( itsMutex );
        return itsEndpoints[inSlot];
    }

private:
    std::mutex itsMutex;
    std::shared_ptr<XNetEndpoint> itsEndpoints[4];
};

/// A few echoes of values that nobody else sends.
inline void Talk( XNetEndpoint& inEndpoint, const XNetAddress& inAddress, std::uint64_t inName )
{
    inEndpoint.Connect( inAddress, kPatience );
    for ( std::uint64_t value = inName; value < inName + 4; ++value )
    {
        std::uint64_t answer = 0;
        inEndpoint.SendData( &value, sizeof value, kPatience );
        inEndpoint.ReceiveData( &answer, sizeof answer, kPatience );
        EXPECT_EQ( answer, value );
    }
}

/// Connections are made, used and ended by four threads that end one another's, too: each wait ends, no bytes come out
/// of another's connection, and no descriptor is left.
inline void EndConnectionsFromEverySide(
    const std::function<XNetEndpoint()>& inMakeServer, const std::function<XNetEndpoint()>& inMakeClient,
    unsigned inRounds )
{
    TestListener listener( inMakeServer() );
    const XNetAddress address = listener.GetAddress();
    char byte = 0; // a wait opens what this thread needs for waiting
    EXPECT_ERROR( 3105, TestConnection().client.ReceiveAnyData( &byte, 1, 1 ) );
    const std::ptrdiff_t before = CountDescriptors();
    std::atomic<unsigned> talks = 0;
    {
        EchoServer server( listener );
        Slots slots;
        const auto run = [&]( unsigned inNumber )
        {
            std::minstd_rand random( inNumber + 1 );
            for ( unsigned round = 0; round < inRounds; ++round )
            {
                const auto endpoint = std::make_shared<XNetEndpoint>( inMakeClient() );
                slots.Set( inNumber, endpoint );
                try
                {
                    Talk( *endpoint, address, std::uint64_t( inNumber ) << 32 | round << 4 );
                    ++talks;
                }
                catch ( const XException& error )
                {
                    EXPECT_EQ( error.GetErrorNumber(), 3100u );
                }
                if ( const auto other = slots.Get( random() % 4 ); other && round % 2 == 0 )
                    random() % 2 == 0 ? other->ForceDisconnect() : other->Unbind();
            }
            slots.Set( inNumber, nullptr );
        };
        RunOnThreads( 4, run );
    }
    EXPECT_GT( talks.load(), inRounds );
    EXPECT_LE( CountDescriptors(), before );
}
