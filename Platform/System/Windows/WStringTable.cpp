#include "System/WStringTable.h"

#include "System/WCodePage.h"

#include <windows.h>

namespace
{

/// The library's own module, which is not that of the program.
HMODULE GetOwnModule()
{
    HMODULE module = nullptr;
    ::GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const wchar_t*>( &GetOwnModule ), &module );
    return module;
}

} // namespace

std::optional<std::string> WStringTable::Load( std::uint32_t inResourceID )
{
    // The system would look at the low 16 bits only.
    if ( inResourceID > 0xFFFFu )
        return std::nullopt;
    const wchar_t* text = nullptr;
    const int length = ::LoadStringW( GetOwnModule(), inResourceID, reinterpret_cast<wchar_t*>( &text ), 0 );
    if ( length <= 0 )
        return std::nullopt;
    return WCodePage::WideToAnsi( std::wstring_view( text, static_cast<std::size_t>( length ) ) );
}
