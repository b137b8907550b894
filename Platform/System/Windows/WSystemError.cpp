#include "System/WSystemError.h"

#include "System/WCodePage.h"

#include <windows.h>

namespace
{

std::string FormatSystemMessage( std::uint32_t inCode, const wchar_t* inModule )
{
    wchar_t* text = nullptr;
    const DWORD source = inModule ? FORMAT_MESSAGE_FROM_HMODULE : FORMAT_MESSAGE_FROM_SYSTEM;
    const HMODULE module = inModule ? ::GetModuleHandleW( inModule ) : nullptr;
    const DWORD length = ::FormatMessageW(
        source | FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS, module, inCode, 0,
        reinterpret_cast<wchar_t*>( &text ), 0, nullptr );
    if ( length == 0 )
        return {};
    auto result = WCodePage::WideToAnsi( std::wstring_view( text, length ) );
    ::LocalFree( text );
    result.erase( result.find_last_not_of( " \r\n." ) + 1 );
    return result;
}

} // namespace

std::uint32_t WSystemError::GetLast()
{
    return ::GetLastError();
}

void WSystemError::SetLast( std::uint32_t inCode )
{
    ::SetLastError( inCode );
}

std::uint32_t WSystemError::FromErrorCode( const std::error_code& inError )
{
    const bool isErrno = inError.category() == std::generic_category();
    return isErrno ? FromErrno( inError.value() ) : static_cast<std::uint32_t>( inError.value() );
}

std::string WSystemError::GetText( std::uint32_t inCode )
{
    if ( inCode & kErrnoFlag )
        return std::generic_category().message( ToErrno( inCode ) );
    const auto last = ::GetLastError();
    auto text = FormatSystemMessage( inCode, nullptr );
    ::SetLastError( last );
    return text;
}
