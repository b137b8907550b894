#pragma once

#include "WPlatform.h"

#include <memory>
#include <string>

/// What the TLS connections of one side have in common: the certificate that it shows, the authority that it trusts, and
/// the name that it expects in the certificates of its peers. TLS 1.3 only; both sides have to show a certificate.
/// Sessions are never resumed, so that each peer proves itself each time.
///
/// Errors: 3120 where the system has no TLS 1.3 that can be used, 1005 for texts that are not what they should be.
/// Threads: any; does not change.
class KORVALE_API WTLSContext
{
public:
    /// Texts are PEM.
    struct Settings
    {
        std::string certificate;
        std::string privateKey;
        std::string authority;
        std::string peerName;
    };

    explicit WTLSContext( const Settings& inSettings );
    WTLSContext( const WTLSContext& ) = delete;
    WTLSContext& operator=( const WTLSContext& ) = delete;
    ~WTLSContext();

private:
    friend class WTLSSession;

    struct System;

    const std::unique_ptr<System> itsSystem;
};
