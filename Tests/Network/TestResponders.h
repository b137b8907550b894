#pragma once

#include "Servers/XNetResponder.h"
#include "Threads/TestThread.h"

/// Responds by a function.
struct TestResponder : XNetResponder
{
    using Body = std::function<void( TestResponder& )>;

    explicit TestResponder( Body inBody ) : XNetResponder( "test" ), itsBody( std::move( inBody ) ) {}
    ~TestResponder() override { StopResponding(); }

    using XNetResponder::DetachEndpoint, XNetResponder::GetEndpoint, XNetResponder::SetAuthenticated;

protected:
    void RespondSelf() override { itsBody( *this ); }

private:
    const Body itsBody;
};

/// Sends back each byte; the byte 'a' authenticates.
struct EchoResponder : XNetResponder
{
    EchoResponder() : XNetResponder( "echo" ) { ++sCount; }
    ~EchoResponder() override
    {
        StopResponding();
        --sCount;
    }

    static inline std::atomic<int> sCount = 0;

protected:
    void RespondSelf() override
    {
        for ( ;; )
        {
            XNetEndpoint endpoint = GetEndpoint();
            char byte = 0;
            endpoint.ReceiveData( &byte, 1, kNoTimeout );
            if ( byte == 'a' )
                SetAuthenticated();
            endpoint.SendData( &byte, 1, kPatience );
        }
    }
};

inline std::unique_ptr<XNetResponder> MakeEcho()
{
    return std::make_unique<EchoResponder>();
}

/// What an echo responder sends back for a byte.
inline char Say( XNetEndpoint& inClient, char inByte )
{
    inClient.SendData( &inByte, 1, kPatience );
    inClient.ReceiveData( &inByte, 1, kPatience );
    return inByte;
}

/// The error that ends a connection.
inline std::uint32_t AwaitEnd( XNetEndpoint& inClient )
{
    char byte = 0;
    return ErrorOf( [&] { inClient.ReceiveAnyData( &byte, 1, kPatience ); } );
}
