#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <string>

/// Creates the certificates of a deployment: X.509, keys on the curve P-256, as PEM text.
/// Errors: 3120 if the system does not support this.
/// Threads: any.
class KORVALE_API WCertificates
{
public:
    struct Certificate
    {
        std::string text;
        std::string privateKey; ///< PKCS #8, not encrypted
    };

    /// The period in which a certificate is valid, in seconds from now.
    struct Validity
    {
        std::int64_t begin = 0;
        std::int64_t end = 0;
    };

    WCertificates() = delete;

    /// Whether this system can create certificates.
    static bool AreAvailable();

    /// Creates a certificate authority.
    static Certificate MakeAuthority( const std::string& inName, const Validity& inValidity );

    /// Creates a certificate for either side of a TLS connection, with this name (a DNS name).
    static Certificate
    Make( const Certificate& inAuthority, const std::string& inName, const Validity& inValidity );

    /// Throw 1005 if the text is not a certificate, or not the private key of the certificate.
    static void CheckCertificate( const std::string& inText );
    static void CheckPrivateKey( const std::string& inText, const std::string& inCertificate );
};
