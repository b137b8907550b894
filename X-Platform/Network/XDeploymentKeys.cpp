#include "Network/XDeploymentKeys.h"

#include "Core/Errors/WLastErrorException.h"
#include "Files/WFilePath.h"
#include "Files/WFolders.h"
#include "Files/WPendingFiles.h"
#include "Files/WPrivateFile.h"
#include "Ground/XErrorNumbers.h"
#include "Sockets/WCertificates.h"
#include "Sockets/WTLSContext.h"
#include "System/WRandomBytes.h"
#include "System/WSystemError.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <vector>

// Keys are made in a temporary folder, so that the target never has some of the files only: a new target
// appears by one rename. In an existing, empty folder that is not possible, since the folder itself may be a
// mount point or somebody's working folder; there the files are moved up one by one, and all that are in
// place are removed again if one fails. Everything made is registered with WPendingFiles, which removes it if
// the process is interrupted; Hold keeps an interrupt off between making a file and registering it.
//
// Reading checks permissions on the open file, not on the path, so the file cannot be exchanged between the
// two.

namespace
{

constexpr const char* kKeyFile = "key";
constexpr const char* kAuthorityName = "authority";
constexpr std::uint64_t kMostBytesPerFile = 64 * 1024;
constexpr std::int64_t kSecondsPerDay = 24 * 60 * 60;

struct RoleNames
{
    const char* file;
    const char* certificate; // the name that it is made out to
};

constexpr RoleNames kRoles[] = { { "control", "control.korvale" }, { "node", "node.korvale" } };

XString PathToText( const std::filesystem::path& inPath )
{
    const std::u8string text = inPath.u8string();
    return XString::FromUTF8( std::string( text.begin(), text.end() ) );
}

/// Names the file, or the folder, before the reason.
class KeyFileException : public XException
{
public:
    KeyFileException( const std::filesystem::path& inPath, const XString& inReason, std::uint32_t inNumber )
        : XException( inNumber ), itsMessage( PathToText( inPath ) + ": " + inReason )
    {
    }
    KeyFileException( const std::filesystem::path& inPath, const XException& inReason )
        : KeyFileException( inPath, inReason.GetRawErrorMessage(), inReason.GetErrorNumber() )
    {
    }
    XString GetRawErrorMessage() const override { return itsMessage; }

private:
    XString itsMessage;
};

/// Runs an operation on a file; exceptions then name the file.
template<class TWork>
auto With( const std::filesystem::path& inPath, TWork inWork )
{
    try
    {
        return inWork();
    }
    catch ( const XException& error )
    {
        throw KeyFileException( inPath, error );
    }
}

void CheckFor( const std::filesystem::path& inPath, const std::error_code& inError )
{
    if ( inError )
        throw KeyFileException( inPath, WLastErrorException( WSystemError::FromErrorCode( inError ) ) );
}

// ---- Reading

std::string ReadSecret( const std::filesystem::path& inPath )
{
    return With(
        inPath,
        [&]
        {
            if ( WFile::IsDevice( inPath ) ) // which may wait for somebody, or have no end
                XThrow( kErrorStreamCorrupted );
            const WFile file( inPath, WFile::kRead );
            if ( WPrivateFile::IsOpenToOthers( file ) )
                XThrow( kErrorKeysExposed );
            const std::uint64_t size = file.GetSize();
            if ( size > kMostBytesPerFile )
                XThrow( kErrorStreamCorrupted );
            std::string text( size, ' ' );
            // The file may have become shorter since its size was asked for.
            text.resize( file.ReadAt( 0, text.data(), size ) );
            return text;
        } );
}

int ToDigit( char inCharacter )
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    const char small =
        inCharacter >= 'A' && inCharacter <= 'F' ? static_cast<char>( inCharacter | 0x20 ) : inCharacter;
    const auto digit = kDigits.find( small );
    return digit == std::string_view::npos ? -1 : static_cast<int>( digit );
}

/// Whether the text is such a key, and perhaps the end of a line.
bool ParseKey( std::string_view inText, char ( &outKey )[XEncryption::kKeySize] )
{
    while ( !inText.empty() && ( inText.back() == '\n' || inText.back() == '\r' ) )
        inText.remove_suffix( 1 );
    if ( inText.size() != 2 * XEncryption::kKeySize ||
         !std::ranges::all_of( inText, []( char inEach ) { return ToDigit( inEach ) >= 0; } ) )
        return false;
    for ( USize i = 0; i < XEncryption::kKeySize; ++i )
        outKey[i] = static_cast<char>( ToDigit( inText[2 * i] ) << 4 | ToDigit( inText[2 * i + 1] ) );
    return true;
}

// ---- Making

/// So many random bytes of the system as hexadecimal digits.
std::string MakeRandomDigits( USize inBytes )
{
    std::vector<std::uint8_t> bytes( inBytes );
    if ( const std::uint32_t error = WRandomBytes::Fill( bytes.data(), inBytes ) )
        throw WLastErrorException( error );
    std::string text;
    for ( const std::uint8_t byte : bytes )
        for ( const int digit : { byte >> 4, byte & 0xF } )
            text += "0123456789abcdef"[digit];
    return text;
}

std::filesystem::directory_iterator ListFiles( const std::filesystem::path& inFolder )
{
    std::error_code error;
    std::filesystem::directory_iterator files( inFolder, error );
    CheckFor( inFolder, error );
    return files;
}

[[noreturn]] void RefuseFullFolder( const std::filesystem::path& inFolder )
{
    throw KeyFileException( inFolder, "the folder is not empty (1013)", kErrorBadParameters );
}

/// A temporary folder beside the target until all its files are complete; otherwise it is removed. If the
/// target exists, the files are made in a folder inside it and moved up: the target may be in use as a
/// working folder or be a mount point.
class NewKeyFolder
{
public:
    explicit NewKeyFolder( const std::filesystem::path& inTarget )
        : itsTarget( inTarget ), itsIsNew( !WFilePath::Exists( inTarget ) ),
          itsPath(
              ( itsIsNew ? inTarget.parent_path() : inTarget ) /
              ( ".korvale-keys-" + MakeRandomDigits( 8 ) + ".tmp" ) )
    {
        With( itsTarget, [this] { Make( itsPath, [this] { WPrivateFile::CreateFolder( itsPath ); } ); } );
    }
    NewKeyFolder( const NewKeyFolder& ) = delete;
    NewKeyFolder& operator=( const NewKeyFolder& ) = delete;
    ~NewKeyFolder()
    {
        const auto hold = WPendingFiles::Hold();
        for ( auto made = itsMade.rbegin(); made != itsMade.rend(); ++made )
        {
            WFilePath::Remove( *made );
            WPendingFiles::Forget( *made );
        }
    }

    void Write( const std::string& inName, const std::string& inText )
    {
        const std::filesystem::path path = itsPath / inName;
        With(
            itsTarget / inName,
            [&]
            {
                Make(
                    path,
                    [&]
                    {
                        WPrivateFile file = WPrivateFile::CreateNew( path );
                        file.WriteAt( 0, inText.data(), inText.size() );
                        file.Flush();
                        file.Close();
                    } );
            } );
    }

    void PutInPlace()
    {
        const auto hold = WPendingFiles::Hold();
        itsIsNew ? Move( itsPath, itsTarget ) : FillTarget();
        for ( const auto& made : itsMade )
            WPendingFiles::Forget( made );
        itsMade.clear();
    }

private:
    template<class TMake>
    void Make( const std::filesystem::path& inPath, TMake inMake )
    {
        const auto hold = WPendingFiles::Hold();
        // Registered first: a failure half-way leaves something to remove, and removing what does not exist
        // is harmless.
        itsMade.push_back( inPath );
        WPendingFiles::Add( inPath );
        inMake();
    }

    static void Move( const std::filesystem::path& inFrom, const std::filesystem::path& inTo )
    {
        std::error_code error;
        std::filesystem::rename( inFrom, inTo, error );
        CheckFor( inTo, error );
    }

    void FillTarget()
    {
        // The one is the temporary folder.
        if ( std::distance( ListFiles( itsTarget ), {} ) != 1 ) // it has got files meanwhile
            RefuseFullFolder( itsTarget );
        for ( std::size_t i = 1; i < itsMade.size(); ++i ) // behind the folder
        {
            const std::filesystem::path moved = itsTarget / itsMade[i].filename();
            Move( itsMade[i], moved );
            WPendingFiles::Forget( itsMade[i] );
            itsMade[i] = moved;
        }
        // The folder existed before, perhaps with wider permissions.
        With( itsTarget, [this] { WPrivateFile::RestrictFolder( itsTarget ); } );
        WFilePath::Remove( itsPath );
    }

    const std::filesystem::path itsTarget;
    const bool itsIsNew;
    const std::filesystem::path itsPath;
    std::vector<std::filesystem::path> itsMade; // the folder first
};

void CheckTarget( const std::filesystem::path& inFolder )
{
    if ( WFilePath::Exists( inFolder ) && ListFiles( inFolder ) != std::filesystem::directory_iterator() )
        RefuseFullFolder( inFolder );
}

void WriteCertificate(
    NewKeyFolder& ioFolder, const std::string& inName, const WCertificates::Certificate& inCertificate )
{
    ioFolder.Write( inName + ".crt", inCertificate.text );
    ioFolder.Write( inName + ".key", inCertificate.privateKey );
}

void WriteCertificates( NewKeyFolder& ioFolder )
{
    const WCertificates::Validity validity{
        // Valid since yesterday: the clocks of the deployment's machines need not agree exactly.
        -kSecondsPerDay, ( XDeploymentKeys::kDaysOfValidity - 1 ) * kSecondsPerDay };
    const WCertificates::Certificate authority =
        WCertificates::MakeAuthority( "Korvale deployment " + MakeRandomDigits( 8 ), validity );
    WriteCertificate( ioFolder, kAuthorityName, authority );
    for ( const RoleNames& role : kRoles )
        WriteCertificate( ioFolder, role.file, WCertificates::Make( authority, role.certificate, validity ) );
}

} // namespace

void XDeploymentKeys::Create( const std::filesystem::path& inFolder )
{
    std::error_code error;
    // A rename replaces a link, not the folder that it names.
    std::filesystem::path target = WFilePath::ResolveLinks( WFilePath::Normalise( inFolder ), error );
    CheckFor( inFolder, error );
    if ( !target.has_filename() ) // a separator at the end
        target = target.parent_path();
    CheckTarget( target );
    NewKeyFolder folder( target );
    folder.Write( kKeyFile, MakeRandomDigits( XEncryption::kKeySize ) + "\n" );
    if ( HasTLS() )
        WriteCertificates( folder );
    folder.PutInPlace();
}

bool XDeploymentKeys::HasTLS()
{
    return WCertificates::AreAvailable();
}

std::filesystem::path XDeploymentKeys::GetDefaultFolder()
{
    if ( const char* const named = std::getenv( "KORVALE_KEYS" ); named && *named != '\0' )
        return named;
    const std::filesystem::path settings = WFolders::GetSettingsFolder();
    if ( settings.empty() || !WFilePath::IsFolder( settings / "korvale" / "keys" ) )
        return {};
    return settings / "korvale" / "keys";
}

XDeploymentKeys::XDeploymentKeys( const std::filesystem::path& inFolder ) : itsFolder( inFolder )
{
    const std::filesystem::path path = inFolder / kKeyFile;
    if ( !ParseKey( ReadSecret( path ), itsKey ) )
        throw KeyFileException( path, "invalid key (expected 32 hexadecimal digits)", kErrorStreamCorrupted );
}

std::shared_ptr<const WTLSContext> XDeploymentKeys::MakeTLSContext( XRole inOwnRole, XRole inPeerRole ) const
{
    if ( !HasTLS() )
        XThrow( kErrorTLSUnavailable );
    const auto read = [this]( const std::string& inFile, auto inCheck )
    {
        const std::string text = ReadSecret( itsFolder / inFile );
        With( itsFolder / inFile, [&] { inCheck( text ); } );
        return text;
    };
    const std::string name = kRoles[inOwnRole].file;
    WTLSContext::Settings settings;
    settings.certificate = read( name + ".crt", WCertificates::CheckCertificate );
    settings.privateKey = read(
        name + ".key",
        [&]( const std::string& inText )
        { WCertificates::CheckPrivateKey( inText, settings.certificate ); } );
    settings.authority = read( std::string( kAuthorityName ) + ".crt", WCertificates::CheckCertificate );
    settings.peerName = kRoles[inPeerRole].certificate;
    return With( itsFolder, [&] { return std::make_shared<WTLSContext>( settings ); } );
}
