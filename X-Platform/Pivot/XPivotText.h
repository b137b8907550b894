#pragma once

#include "Core/Strings/XString.h"
#include "WPlatform.h"

#include <string>

/// Conversions of the text of tables, which is Windows-1252 on every system, so that a table reads the same
/// wherever it was written. Text outside tables (messages, progress, the log) is in the ANSI code page of the
/// system: use XString::ToUTF8 and XString::FromUTF8 for that.
class KORVALE_API XPivotText
{
public:
    static std::string ToUTF8( const XString& inText );

    /// Converts to a single line: line breaks and other control characters become blanks.
    static std::string ToUTF8Line( const XString& inText );

    /// Characters that Windows-1252 lacks become `\u{3A9}`; see WCodePage::UTF8ToWindows1252Escaped.
    static XString FromUTF8( const std::string& inText );

    /// Converts a file name like FromUTF8, and escapes the backslash of a `\u{` in the name as `\u{5C}`, so
    /// that different names have different texts.
    static XString FromFileName( const std::string& inName );
};
