#include "Options/ProtectionOptions.h"

#include "Options/CommandLine.h"
#include "Options/OptionChecks.h"
#include "Support/FilePaths.h"
#include "Support/WrongUsage.h"

const char* const ProtectionOptions::kHelp =
    "Protection\n"
    "  Both ends need the keys of one deployment (see korvale keys) and the same\n"
    "  options. Between machines, connections use TLS 1.3 with certificates of both\n"
    "  ends. On the loop-back interface (127.0.0.1) they use RC4 with the key of the\n"
    "  deployment, unless --tls is given. With --no-tls, RC4 and TEA keep other\n"
    "  deployments apart, but do not protect against eavesdroppers.\n"
    "  Keys are read from --keys, else KORVALE_KEYS, else ~/.config/korvale/keys.\n";

void ProtectionOptions::Declare( const CommandOptions& inOptions )
{
    inOptions.Add( "--keys", itsKeys, "Folder with the keys of the deployment" )
        .Takes( "DIR" )
        .Check( CheckFileName );
    inOptions.Add( "--cipher", itsCipher, "Cipher of the calls [none with TLS, else rc4]" )
        .Takes( "none|rc4|tea" )
        .IsOneOf( { "none", "rc4", "tea" } );
    inOptions.AddFlag( "--tls", itsUsesTLS, "TLS on the loop-back interface too" );
    inOptions.AddFlag( "--no-tls", itsUsesNoTLS, "No TLS between machines either" ).Excludes( "--tls" );
}

ProtectionOptions::Protection ProtectionOptions::Choose(
    bool inIsLoopBack, XDeploymentKeys::XRole inOwnRole, XDeploymentKeys::XRole inPeerRole ) const
{
    const bool usesTLS = itsUsesTLS || ( !itsUsesNoTLS && !inIsLoopBack );
    const auto algorithm = GetAlgorithm( usesTLS );
    Protection protection;
    protection.isWeak = !usesTLS && !inIsLoopBack;
    if ( !usesTLS && algorithm == XEncryptedNetStream::kAlgorithmNone )
    {
        if ( !inIsLoopBack )
            throw WrongUsage( "--no-tls with --cipher none is accepted on the loop-back interface only" );
        return protection;
    }
    const XDeploymentKeys keys( GetFolder() );
    protection.cipher = XRPCCipher( algorithm, keys.GetKey() );
    if ( usesTLS )
        protection.tls = keys.MakeTLSContext( inOwnRole, inPeerRole );
    return protection;
}

XEncryptedNetStream::XAlgorithm ProtectionOptions::GetAlgorithm( bool inUsesTLS ) const
{
    if ( itsCipher.empty() )
        return inUsesTLS ? XEncryptedNetStream::kAlgorithmNone : XEncryptedNetStream::kAlgorithmRC4;
    if ( itsCipher == "none" )
        return XEncryptedNetStream::kAlgorithmNone;
    return itsCipher == "rc4" ? XEncryptedNetStream::kAlgorithmRC4 : XEncryptedNetStream::kAlgorithmTEA;
}

std::filesystem::path ProtectionOptions::GetFolder() const
{
    const auto folder = itsKeys.empty() ? XDeploymentKeys::GetDefaultFolder() : PathFromUTF8( itsKeys );
    if ( folder.empty() )
        throw WrongUsage( "no keys found: set their folder with --keys (korvale keys DIR creates one)" );
    return folder;
}
