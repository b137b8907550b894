#pragma once

#include "Core/Strings/XString.h"
#include "WPlatform.h"

#include <string>
#include <string_view>

// The text of tables is Windows-1252 on every system, so that a table reads the same wherever it was written; what the
// program reads and prints is UTF-8. Text that does not come from a table or go into one (messages, progress, the log) is
// in the ANSI code page of the system: XString::ToUTF8 and XString::FromUTF8.

KORVALE_API std::string ToUTF8( const XString& inText );
/// Characters that have no place become `\u{3A9}`, as WCodePage::UTF8ToWindows1252Escaped has it.
KORVALE_API XString FromUTF8( const std::string& inText );

/// The same for the name of a file, with the backslash of a `\u{` in the name as `\u{5C}`: different names have different
/// texts.
KORVALE_API XString FromFileName( const std::string& inName );

/// On one line: blanks in place of line breaks and other control characters.
KORVALE_API std::string ToUTF8Line( const XString& inText );
