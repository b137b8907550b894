#pragma once

#include "Network/XSocketsTCPEndpointImp.h"

class WTLSContext;
class XTLSConversation;

/// An endpoint over TCP that encrypts and authenticates with TLS 1.3: both sides show a certificate of the deployment
/// (XDeploymentKeys). Streams work over it as over any endpoint; statistics count the bytes of the user.
///
/// `Connect` returns when both sides have accepted each other's certificates, all within its time. A connection that was
/// accepted makes the handshake with its first transfer, in the time of that, so that a slow stranger keeps nobody from
/// accepting others.
///
/// Where the time of a send is over, bytes of it may still go out with the next one.
///
/// Errors, beside those of XNetEndpoint; each ends the connection: 3121 when the peer does not follow the protocol, 3122
/// when it offers less than TLS 1.3, 3123 when it shows no certificate, 3124 when that is of another authority, 3125 when
/// it is for another role, 3126 when it is not valid at this time, 3127 when the peer has rejected the certificate of this
/// side. An end of the connection that the peer has not announced is an end like others (3100).
class KORVALE_API XTLSEndpointImp : public XSocketsTCPEndpointImp
{
public:
    explicit XTLSEndpointImp( const std::shared_ptr<const WTLSContext>& inContext );
    ~XTLSEndpointImp() override;

protected:
    WConnection::Outcome
    BeginConnection( const WConnectionPtr& inConnection, const XWaiter& inWaiter ) override;
    void AnnounceEnd( const WConnectionPtr& inConnection ) override;
    void LetGo( const WConnectionPtr& inConnection ) override;
    std::unique_ptr<XSocketsTCPEndpointImp> MakeAccepted( const WConnectionPtr& inConnection ) override;
    WConnection::Outcome SendSome(
        const WConnectionPtr& inConnection, const void* inBytes, std::uint32_t inCount,
        std::uint32_t inTimeoutMS ) override;
    WConnection::Outcome ReceiveSome(
        const WConnectionPtr& inConnection, void* outBytes, std::uint32_t inCount,
        const WDeadline& inDeadline ) override;
    WConnection::Outcome PeekSome(
        const WConnectionPtr& inConnection, void* outBytes, std::uint32_t inCount,
        const WDeadline& inDeadline ) override;
    WConnection::Outcome WaitForMore(
        const WConnectionPtr& inConnection, std::uint32_t inCount, const WDeadline& inDeadline ) override;
    std::uint32_t CountWaiting( const WConnectionPtr& inConnection ) override;

private:
    std::shared_ptr<XTLSConversation> GetConversation( const WConnectionPtr& inConnection ) const;

    template<class TOperation>
    WConnection::Outcome Converse( const WConnectionPtr& inConnection, TOperation inOperation );

    const std::shared_ptr<const WTLSContext> itsContext;
    mutable XMutex itsConversationMutex;
    std::shared_ptr<XTLSConversation> itsConversation; // guarded by itsConversationMutex
};
