#pragma once

#include "Network/XDeploymentKeys.h"
#include "RemoteCalls/XRPCCipher.h"

#include <memory>
#include <string>

class CommandOptions;

/// The options for what protects the connections of a command: --keys, --cipher, --tls and --no-tls.
class ProtectionOptions
{
public:
    struct Protection
    {
        XRPCCipher cipher;
        std::shared_ptr<const WTLSContext> tls; ///< null: none
        bool isWeak = false;                    ///< others in the network could read and change what is sent
    };

    /// Explains the options of a command that has them.
    static const char* const kHelp;

    void Declare( const CommandOptions& inOptions );

    /// What is to protect connections, on the loop-back interface alone or in a network. Throws WrongUsage where keys
    /// are needed and none are named, or where nothing would protect connections in a network; and what XDeploymentKeys
    /// throws.
    Protection
    Choose( bool inIsLoopBack, XDeploymentKeys::XRole inOwnRole, XDeploymentKeys::XRole inPeerRole ) const;

private:
    std::string itsKeys;   ///< Empty: the usual folder.
    std::string itsCipher; ///< Empty: what suits the connection.
    bool itsUsesTLS = false;
    bool itsUsesNoTLS = false;

    XEncryptedNetStream::XAlgorithm GetAlgorithm( bool inUsesTLS ) const;
    std::filesystem::path GetFolder() const;
};
