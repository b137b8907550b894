#include "Commands/KeysCommand.h"

#include "Files/WFilePath.h"
#include "Network/XDeploymentKeys.h"
#include "Options/CommandLine.h"
#include "Options/OptionChecks.h"
#include "Outputs/NewFolder.h"
#include "Support/FilePaths.h"
#include "Terminal/Session.h"

void KeysCommand::Declare( const CommandOptions& inOptions )
{
    inOptions.Explain( "The control service, the nodes and the clients of a deployment authenticate with\n"
                       "these files. Copy them to the participating machines and protect them from\n"
                       "other users: files that others can read are rejected.\n"
                       "Programs read them from the folder named by the environment variable\n"
                       "KORVALE_KEYS, otherwise from ~/.config/korvale/keys.\n"
                       "\n"
                       "Files\n"
                       "  key                           128-bit key of the stream ciphers\n"
                       "  authority.crt, authority.key  certificate authority; its key is needed only to\n"
                       "                                issue more certificates: do not copy it\n"
                       "  control.crt, control.key      certificate of the control service: copy it to\n"
                       "                                its machine only\n"
                       "  node.crt, node.key            certificate of clients and nodes\n"
                       "Certificates are valid for ten years. They are not created on Windows, where\n"
                       "TLS is not available.\n"
                       "\n"
                       "Example\n"
                       "  korvale keys ~/.config/korvale/keys\n"
                       "\n"
                       "Exit status: 0, 1 after a failure, 2 for wrong usage, 130 when interrupted;\n"
                       "then nothing is left behind." );
    inOptions.Add( "DIR", itsFolder, "Folder to create; must be missing or empty" )
        .Takes( "" )
        .Check( CheckFileName )
        .Required();
    inOptions.AddFlag( "-q,--quiet", itsIsQuiet, "No summary" );
}

CommandFiles KeysCommand::GetFiles() const
{
    return { {}, { itsFolder } };
}

int KeysCommand::Run( Session& ioSession )
{
    const auto folder = PathFromUTF8( itsFolder );
    NewFolder above( WFilePath::Normalise( folder / "" ).parent_path().parent_path() );
    XDeploymentKeys::Create( folder );
    above.Keep();
    if ( itsIsQuiet )
        return kSuccess;
    const bool hasCertificates = XDeploymentKeys::HasTLS();
    ioSession.out << itsFolder << ": "
                  << ( hasCertificates ? "a key and the certificates of a new deployment"
                                       : "a key; no certificates, because TLS 1.3 is not available on this "
                                         "system (3120)" )
                  << '\n';
    return kSuccess;
}
