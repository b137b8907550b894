#pragma once

#include "Network/XSocketsTCPEndpointImp.h"

class WTLSContext;
class XTLSConversation;

/// An endpoint over TCP that encrypts and authenticates with TLS 1.3: both sides present a certificate of the
/// deployment (XDeploymentKeys). Streams work over it as over any endpoint; statistics count the user's
/// bytes.
///
/// `Connect` returns when both sides have accepted each other's certificates, all within its time-out. An
/// accepted connection performs the handshake in its first transfer, within the time-out of that, so that a
/// slow peer does not delay accepting others.
///
/// After a time-out of a send, its remaining bytes may still be sent with the next one.
///
/// Errors, besides those of XNetEndpoint; each ends the connection: 3121 if the peer violates the protocol,
/// 3122 if it offers less than TLS 1.3, 3123 if it presents no certificate, 3124 if its certificate is from
/// another authority, 3125 if it is for another role, 3126 if it is not valid at this time, 3127 if the peer
/// has rejected the certificate of this side. A connection that ends without a TLS close is an ordinary end
/// (3100).
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
