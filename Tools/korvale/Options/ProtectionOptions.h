#pragma once

#include "Network/XDeploymentKeys.h"
#include "RemoteCalls/XRPCCipher.h"

#include <memory>
#include <string>

class CommandOptions;

/// The options that protect the connections of a command: --keys, --cipher, --tls and --no-tls.
class ProtectionOptions
{
public:
    struct Protection
    {
        XRPCCipher cipher;
        std::shared_ptr<const WTLSContext> tls; ///< null: none
        bool isWeak = false;                    ///< others in the network could read and change what is sent
    };

    /// The section of the help texts that explains the options.
    static const char* const kHelp;

    void Declare( const CommandOptions& inOptions );

    /// Selects the protection of connections on the loop-back interface or between machines. Throws
    /// WrongUsage if keys are needed and none are given, or if connections between machines would be
    /// unprotected; and the errors of XDeploymentKeys.
    Protection
    Choose( bool inIsLoopBack, XDeploymentKeys::XRole inOwnRole, XDeploymentKeys::XRole inPeerRole ) const;

private:
    std::string itsKeys;   // empty: the usual folder
    std::string itsCipher; // empty: what suits the connection
    bool itsUsesTLS = false;
    bool itsUsesNoTLS = false;

    XEncryptedNetStream::XAlgorithm GetAlgorithm( bool inUsesTLS ) const;
    std::filesystem::path GetFolder() const;
};
