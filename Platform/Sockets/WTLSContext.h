#pragma once

#include "WPlatform.h"

#include <memory>
#include <string>

/// The settings of all TLS connections of one side: its certificate, the trusted authority, and the name that
/// certificates of peers must have. TLS 1.3 only; both sides must present a certificate. Sessions are never
/// resumed, so each peer authenticates each time.
///
/// Errors: 3120 if the system has no usable TLS 1.3, 1005 for invalid texts.
/// Threads: any; the object is immutable.
class KORVALE_API WTLSContext
{
public:
    /// All texts are PEM, except peerName.
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
