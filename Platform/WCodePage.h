#pragma once

#include "WPlatform.h"

#include <string>
#include <string_view>

/// Conversions between the ANSI code page (the system's on Windows, Windows-1252 elsewhere), wide text
/// (UTF-16 or UTF-32, as `wchar_t` is on the system) and UTF-8. Characters that have no place in the target,
/// and malformed input, become '?' in ANSI and U+FFFD in Unicode. NULs are characters like any other. A
/// conversion that the system refuses throws WLastErrorException.
class KORVALE_API WCodePage
{
public:
    static std::wstring AnsiToWide( std::string_view inText );
    static std::string WideToAnsi( std::wstring_view inText );

    static std::wstring UTF8ToWide( std::string_view inText );
    static std::string WideToUTF8( std::wstring_view inText );

    static std::string AnsiToUTF8( std::string_view inText );
    static std::string UTF8ToAnsi( std::string_view inText );
};
