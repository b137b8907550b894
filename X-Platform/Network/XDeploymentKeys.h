#pragma once

#include "Network/XEncryption.h"

#include <filesystem>
#include <memory>
#include <string>

class WTLSContext;

/// The secrets of a deployment, in a folder that its administrator creates and copies to the participating
/// machines:
///
/// | File | Holds |
/// | --- | --- |
/// | `key` | the key of the stream ciphers, 32 hexadecimal digits |
/// | `authority.crt`, `authority.key` | the certificate authority of the deployment; the key serves only to issue further certificates, and no program reads it |
/// | `control.crt`, `control.key` | the certificate of the control service |
/// | `node.crt`, `node.key` | the certificate of clients and nodes |
///
/// A process reads `key` and, for TLS, the certificate of the authority and its own certificate with its key.
/// Files that other users may read or change are rejected (3128), because their contents may be known or
/// replaced.
///
/// Errors name the file: 3128; 1005 for invalid contents; 3120 if this system has no TLS 1.3 or cannot create
/// certificates; otherwise the system's number.
/// Threads: any; the object is immutable.
class KORVALE_API XDeploymentKeys
{
public:
    /// The role that a certificate is issued for.
    enum XRole : std::uint32_t
    {
        kRoleControlService,
        kRoleNode ///< clients and nodes
    };

    /// Validity of all certificates, including the authority's, starting a day before they are created.
    static constexpr std::int64_t kDaysOfValidity = 3650;

    /// Creates the secrets of a new deployment in a folder that is missing or empty, with access for its
    /// owner only; on failure the folder is missing or empty as before. A folder that is not empty is error
    /// 1013. The parent folder must exist. If the system cannot create certificates, only `key` is created.
    static void Create( const std::filesystem::path& inFolder );

    /// Whether this system supports TLS: certificates and connections.
    static bool HasTLS();

    /// The folder named by the variable `KORVALE_KEYS`; without it `~/.config/korvale/keys` (on Windows
    /// `korvale\keys` in the roaming application data) if that exists, otherwise an empty path.
    static std::filesystem::path GetDefaultFolder();

    /// Reads `key`.
    explicit XDeploymentKeys( const std::filesystem::path& inFolder );

    /// `XEncryption::kKeySize` bytes.
    const char* GetKey() const { return itsKey; }

    /// Reads the certificates for TLS connections (XTLSEndpointImp) between `inOwnRole` and peers with
    /// `inPeerRole`. Errors 3121 to 3127 are thrown by the connections.
    std::shared_ptr<const WTLSContext> MakeTLSContext( XRole inOwnRole, XRole inPeerRole ) const;

private:
    std::filesystem::path itsFolder;
    char itsKey[XEncryption::kKeySize];
};
