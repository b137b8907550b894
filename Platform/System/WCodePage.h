#pragma once

#include "WPlatform.h"

#include <string>
#include <string_view>

/// Conversions between text encodings:
///
/// - ANSI, the code page of `XString`: the system's on Windows, Windows-1252 elsewhere;
/// - Windows-1252, the same on every system: the encoding of the library's own literals (column names and units)
///   and of the text that `korvale` stores in tables;
/// - wide text, UTF-16 or UTF-32 as `wchar_t` is on the system;
/// - UTF-8.
///
/// Characters that the target cannot represent, and malformed input, become '?' in 8-bit text and U+FFFD in
/// Unicode. In conversions to the ANSI code page, Windows substitutes similar characters; conversions to
/// Windows-1252 never do. NULs are ordinary characters. A conversion that the system rejects throws
/// WLastErrorException.
class KORVALE_API WCodePage
{
public:
    static std::wstring AnsiToWide( std::string_view inText );
    static std::string WideToAnsi( std::wstring_view inText );

    static std::wstring Windows1252ToWide( std::string_view inText );
    static std::string WideToWindows1252( std::wstring_view inText );

    static std::wstring UTF8ToWide( std::string_view inText );
    static std::string WideToUTF8( std::wstring_view inText );

    static std::string AnsiToUTF8( std::string_view inText );
    static std::string UTF8ToAnsi( std::string_view inText );

    static std::string Windows1252ToUTF8( std::string_view inText );
    static std::string UTF8ToWindows1252( std::string_view inText );

    /// Lossless: a character that Windows-1252 lacks becomes `\u{3A9}`, its number in hexadecimal, and each
    /// byte of malformed input becomes `\u{DCFF}`, 0xDC00 plus the byte. Such escapes in the input are
    /// unchanged.
    static std::string UTF8ToWindows1252Escaped( std::string_view inText );
};
