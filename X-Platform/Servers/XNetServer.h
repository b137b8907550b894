#pragma once

#include "Servers/XServer.h"

class WTLSContext;

/// A server that listens on a TCP port, of all adapters or of one.
class KORVALE_API XNetServer : public XServer
{
public:
    explicit XNetServer( const XString& inName );
    XNetServer( const XString& inName, const XLimits& inLimits );
    ~XNetServer() override;

    /// Makes connections use TLS from the next start on (XTLSEndpointImp). The handshake takes place while
    /// the connection is a stranger, before its preamble is read, or in the first transfer of its responder.
    void UseTLS( const std::shared_ptr<const WTLSContext>& inContext ) { itsTLSContext = inContext; }

    /// Starts listening on a port and accepting; 0 selects a free port. Errors as in `XNetEndpoint::Bind`,
    /// and the system's last error if a thread cannot be started. An internal error if the server is running.
    void Start( std::int32_t inPort, std::uint32_t inBacklog = XNetEndpoint::kMostBacklog );
    /// Starts listening on the adapter with the address only, on all if it is 0.0.0.0.
    void Start( const XNetAddress& inAddress, std::uint32_t inBacklog = XNetEndpoint::kMostBacklog );

    /// The port that the server listens on; 0 if it is not running.
    std::int32_t GetPort() const;

private:
    template<class TPlace>
    void StartOn( const TPlace& inPlace, std::uint32_t inBacklog );

    std::shared_ptr<const WTLSContext> itsTLSContext;
};
