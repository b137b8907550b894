#pragma once

#include "Network/XEncryption.h"

#include <filesystem>
#include <memory>
#include <string>

class WTLSContext;

/// The secrets of a deployment, which lie in a folder that its administrator has made and copied to the machines that
/// take part:
///
/// | File | Holds |
/// | --- | --- |
/// | `key` | the key of the stream ciphers, 32 hexadecimal digits |
/// | `authority.crt`, `authority.key` | the certificate authority of the deployment; the key serves only to issue further certificates, and no program reads it |
/// | `control.crt`, `control.key` | the certificate of the control service |
/// | `node.crt`, `node.key` | the certificate of clients and nodes |
///
/// A process reads `key` and, for TLS, the certificate of the authority and its own certificate with its key. Files that
/// others may read or change are refused (3128), since somebody may have learned or exchanged them.
///
/// Errors name the file: 3128, 1005 for contents that are not what they should be, 3120 where this system has no TLS 1.3
/// or cannot make certificates, else the system's number.
/// Threads: any; does not change.
class KORVALE_API XDeploymentKeys
{
public:
    /// A certificate is made out to one of them.
    enum XRole : std::uint32_t
    {
        kRoleControlService,
        kRoleNode ///< clients and nodes
    };

    /// Certificates, the authority's too, are valid for so long from a day before they are made.
    static constexpr std::int64_t kDaysOfValidity = 3650;

    /// Makes the secrets of a new deployment: a folder that is missing, or empty, is one with all files afterwards, with
    /// access for its owner alone; after a failure it is missing, or empty, as it was. A folder that is not empty is error
    /// 1013. The folder above has to exist. Where the system cannot make certificates, only `key` is made.
    static void Create( const std::filesystem::path& inFolder );

    /// Whether this system can make certificates, and connections with them.
    static bool HasTLS();

    /// What the variable `KORVALE_KEYS` names, else `~/.config/korvale/keys` (on Windows `korvale\keys` in the roaming
    /// application data) where there is such a folder, else an empty path.
    static std::filesystem::path GetDefaultFolder();

    /// Reads `key`.
    explicit XDeploymentKeys( const std::filesystem::path& inFolder );

    /// `XEncryption::kKeySize` bytes.
    const char* GetKey() const { return itsKey; }

    /// Reads the certificates for TLS connections (XTLSEndpointImp) of one that has the first role with peers that have
    /// the second. 3121 to 3127 are for the connections.
    std::shared_ptr<const WTLSContext> MakeTLSContext( XRole inOwnRole, XRole inPeerRole ) const;

private:
    std::filesystem::path itsFolder;
    char itsKey[XEncryption::kKeySize];
};
