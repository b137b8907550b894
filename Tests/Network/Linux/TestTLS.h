#pragma once

#include "Network/TestConnection.h"
#include "Network/XTLSEndpointImp.h"
#include "Sockets/WCertificates.h"
#include "Sockets/WTLSContext.h"

/// A deployment's authority, which makes out certificates to the names that a test wants.
struct TestAuthority
{
    static constexpr WCertificates::Validity kValid{ -60, 3600 };

    std::shared_ptr<const WTLSContext> MakeContext(
        const std::string& inName, const std::string& inPeerName,
        const WCertificates::Validity& inValidity = kValid ) const
    {
        const WCertificates::Certificate own = WCertificates::Make( itsAuthority, inName, inValidity );
        return std::make_shared<WTLSContext>(
            WTLSContext::Settings{ own.text, own.privateKey, itsAuthority.text, inPeerName } );
    }
    const WCertificates::Certificate& Get() const { return itsAuthority; }

private:
    const WCertificates::Certificate itsAuthority = WCertificates::MakeAuthority( "test", kValid );
};

/// The two sides of a deployment, as it should be.
struct TestContexts
{
    TestContexts()
    {
        const TestAuthority authority;
        server = authority.MakeContext( "server", "client" );
        client = authority.MakeContext( "client", "server" );
    }

    std::shared_ptr<const WTLSContext> server, client;
};

inline XNetEndpoint MakeTLSEndpoint( const std::shared_ptr<const WTLSContext>& inContext )
{
    return XNetEndpoint( std::make_unique<XTLSEndpointImp>( inContext ) );
}

/// Two endpoints that are connected with each other by TLS.
struct TestTLSConnection : TestContexts
{
    TestTLSConnection()
    {
        TestListener listener( MakeTLSEndpoint( TestContexts::server ) );
        RunTogether(
            [&] { client.Connect( listener.GetAddress(), kPatience ); },
            [&]
            {
                server = listener.Accept();
                char byte = 0;
                EXPECT_ERROR( 3105, server->ReceiveAnyData( &byte, 1, 0 ) );
                while ( client.GetState() != XNetEndpoint::kStateConnected ) // in steps that are too short
                    EXPECT_ERROR( 3105, server->ReceiveAnyData( &byte, 1, 1 ) );
            } );
    }

    XNetEndpoint client = MakeTLSEndpoint( TestContexts::client );
    std::unique_ptr<XNetEndpoint> server;
};
