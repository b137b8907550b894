#include "Files/WWildcards.h"

#include <windows.h>

std::u32string WWildcards::GetComparable( const std::filesystem::path& inName )
{
    const auto& text = inName.native();
    if ( text == L"*.*" )
        return U"*";
    std::wstring upper( text );
    const auto length = static_cast<int>( text.size() );
    ::LCMapStringEx(
        LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, text.data(), length, upper.data(), length, nullptr, nullptr,
        0 );
    return std::u32string( upper.begin(), upper.end() );
}
