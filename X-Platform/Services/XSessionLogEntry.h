#pragma once

#include "Core/Strings/XString.h"
#include "Core/Times/XTime.h"

/// The severity of an entry of the session log.
enum XSessionLogLevel : std::uint32_t
{
    kLogInformation = 0,
    kLogWarning = 1,
    kLogError = 2
};

/// One entry of the session log. Its thread is the one that constructs it.
struct KORVALE_API XSessionLogEntry
{
    XSessionLogEntry( XSessionLogLevel inLevel, const XString& inText, std::uint32_t inErrorNumber = 0 );

    /// The entry as written to the file, in the ANSI code page: UTC time, level, thread, error number ("-"
    /// for none) and text, separated by tabs. Further lines of the text are indented by a tab, so an entry
    /// begins at every line that does not start with a tab.
    ///
    ///     2026-03-05T16:07:08.901234Z    error    4711    1005    the stream is corrupted (1005)
    XString GetLine() const;

    XTime time;
    XSessionLogLevel level;
    std::uint32_t threadID;
    std::uint32_t errorNumber; ///< 0 for none
    XString text;
};
