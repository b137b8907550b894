#include "Files/WPrivateFile.h"

#include "Ground/XFail.h"
#include "System/WSystemError.h"

#include <memory>
#include <string>
#include <vector>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

// "Private" is an access list that grants everything to the user and to the system and is protected from
// inheritance (SDDL "D:P"). A file counts as open to others if any entry that applies to it grants any right
// to somebody else than the user, the system, the administrators, who can take any right anyway, or the
// placeholder for the owner. A file without a list is open to all.

namespace
{

struct LocalFreer
{
    void operator()( void* inMemory ) const { LocalFree( inMemory ); }
};

template<class T>
using Local = std::unique_ptr<T, LocalFreer>;

void CheckSuccess( bool inHasSucceeded )
{
    if ( !inHasSucceeded )
        XThrowLastSystemError();
}

void CheckSecurity( DWORD inError )
{
    if ( inError == ERROR_SUCCESS )
        return;
    WSystemError::SetLast( inError );
    XThrowLastSystemError();
}

/// The user whose process this is.
class CurrentUser
{
public:
    CurrentUser()
    {
        HANDLE token = nullptr;
        CheckSuccess( OpenProcessToken( GetCurrentProcess(), TOKEN_QUERY, &token ) );
        const std::unique_ptr<void, decltype( &CloseHandle )> owner( token, &CloseHandle );
        DWORD size = 0;
        GetTokenInformation( token, TokenUser, nullptr, 0, &size );
        itsUser.resize( size );
        CheckSuccess( GetTokenInformation( token, TokenUser, itsUser.data(), size, &size ) );
    }

    PSID GetSID() const { return reinterpret_cast<const TOKEN_USER*>( itsUser.data() )->User.Sid; }

    std::wstring GetText() const
    {
        wchar_t* text = nullptr;
        CheckSuccess( ConvertSidToStringSidW( GetSID(), &text ) );
        return Local<wchar_t>( text ).get();
    }

private:
    std::vector<std::uint8_t> itsUser;
};

/// Lets the user and the system in; nothing is inherited from the folder above.
class PrivateAttributes
{
public:
    PrivateAttributes()
    {
        const std::wstring list = L"D:P(A;OICI;FA;;;" + CurrentUser().GetText() + L")(A;OICI;FA;;;SY)";
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        CheckSuccess( ConvertStringSecurityDescriptorToSecurityDescriptorW(
            list.c_str(), SDDL_REVISION_1, &descriptor, nullptr ) );
        itsDescriptor.reset( descriptor );
        itsAttributes = { sizeof( itsAttributes ), descriptor, FALSE };
    }
    SECURITY_ATTRIBUTES* Get() { return &itsAttributes; }

private:
    Local<void> itsDescriptor;
    SECURITY_ATTRIBUTES itsAttributes{};
};

bool MayHaveAccess( PSID inSID )
{
    for ( const auto known : { WinLocalSystemSid, WinBuiltinAdministratorsSid, WinCreatorOwnerSid } )
        if ( IsWellKnownSid( inSID, known ) )
            return true;
    return EqualSid( inSID, CurrentUser().GetSID() );
}

/// Entries for objects and with conditions grant rights too; files hardly have them, so they count as open.
bool LetsOthersIn( const ACE_HEADER& inEntry )
{
    const auto& allowed = reinterpret_cast<const ACCESS_ALLOWED_ACE&>( inEntry );
    if ( inEntry.AceFlags & INHERIT_ONLY_ACE )
        return false;
    switch ( inEntry.AceType )
    {
    case ACCESS_ALLOWED_ACE_TYPE:
        return allowed.Mask != 0 && !MayHaveAccess( const_cast<DWORD*>( &allowed.SidStart ) );
    case ACCESS_ALLOWED_COMPOUND_ACE_TYPE:
    case ACCESS_ALLOWED_OBJECT_ACE_TYPE:
    case ACCESS_ALLOWED_CALLBACK_ACE_TYPE:
    case ACCESS_ALLOWED_CALLBACK_OBJECT_ACE_TYPE:
        return allowed.Mask != 0;
    default:
        return false; // denials, audits and labels
    }
}

} // namespace

WPrivateFile WPrivateFile::CreateNew( const std::filesystem::path& inPath )
{
    PrivateAttributes attributes;
    const HANDLE handle = CreateFileW(
        inPath.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, attributes.Get(),
        CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr );
    CheckSuccess( handle != INVALID_HANDLE_VALUE );
    return WPrivateFile( reinterpret_cast<std::intptr_t>( handle ) );
}

void WPrivateFile::CreateFolder( const std::filesystem::path& inPath )
{
    PrivateAttributes attributes;
    CheckSuccess( CreateDirectoryW( inPath.c_str(), attributes.Get() ) );
}

void WPrivateFile::RestrictFolder( const std::filesystem::path& inPath )
{
    PrivateAttributes attributes;
    ACL* list = nullptr;
    BOOL isPresent = FALSE, isDefault = FALSE;
    CheckSuccess(
        GetSecurityDescriptorDacl( attributes.Get()->lpSecurityDescriptor, &isPresent, &list, &isDefault ) );
    std::wstring path = inPath.native();
    CheckSecurity( SetNamedSecurityInfoW(
        path.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr,
        nullptr, list, nullptr ) );
}

bool WPrivateFile::IsOpenToOthers( const WFile& inFile )
{
    ACL* list = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    CheckSecurity( GetSecurityInfo(
        reinterpret_cast<HANDLE>( inFile.GetRawHandle() ), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
        nullptr, &list, nullptr, &descriptor ) );
    const Local<void> owner( descriptor );
    if ( !list )
        return true;
    for ( DWORD i = 0; i < list->AceCount; ++i )
    {
        void* entry = nullptr;
        CheckSuccess( GetAce( list, i, &entry ) );
        if ( LetsOthersIn( *static_cast<const ACE_HEADER*>( entry ) ) )
            return true;
    }
    return false;
}
