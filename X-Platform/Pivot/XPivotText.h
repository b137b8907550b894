#pragma once

#include "Core/Strings/XString.h"
#include "WPlatform.h"

#include <string>

/// The text of tables. It is Windows-1252 on every system, so that a table reads the same wherever it was written. Text
/// that does not come from a table or go into one (messages, progress, the log) is in the ANSI code page of the system:
/// XString::ToUTF8 and XString::FromUTF8 convert that.
class KORVALE_API XPivotText
{
public:
    static std::string ToUTF8( const XString& inText );

    /// On one line: blanks in place of line breaks and other control characters.
    static std::string ToUTF8Line( const XString& inText );

    /// Characters that have no place become `\u{3A9}`, as WCodePage::UTF8ToWindows1252Escaped has it.
    static XString FromUTF8( const std::string& inText );

    /// As FromUTF8 for the name of a file, with the backslash of a `\u{` in the name as `\u{5C}`: different names have
    /// different texts.
    static XString FromFileName( const std::string& inName );
};
