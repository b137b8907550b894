#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <string>

/// Makes the certificates of a deployment: X.509, keys on the curve P-256, as PEM text.
/// Errors: 3120 where the system cannot make any.
/// Threads: any.
class KORVALE_API WCertificates
{
public:
    struct Certificate
    {
        std::string text;
        std::string privateKey; ///< PKCS #8, not encrypted
    };

    /// When a certificate is valid, in seconds from now.
    struct Validity
    {
        std::int64_t begin = 0;
        std::int64_t end = 0;
    };

    WCertificates() = delete;

    /// Whether this system can make certificates.
    static bool AreAvailable();

    /// A certificate authority.
    static Certificate MakeAuthority( const std::string& inName, const Validity& inValidity );

    /// For one side of a TLS connection, client or server, that goes by this name (a DNS name).
    static Certificate
    Make( const Certificate& inAuthority, const std::string& inName, const Validity& inValidity );

    /// 1005 for a text that is no certificate, or no private key for the certificate.
    static void CheckCertificate( const std::string& inText );
    static void CheckPrivateKey( const std::string& inText, const std::string& inCertificate );
};
