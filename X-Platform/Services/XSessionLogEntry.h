#pragma once

#include "Core/Strings/XString.h"
#include "Core/Times/XTime.h"

/// How much an entry of the session log matters.
enum XSessionLogLevel : std::uint32_t
{
    kLogInformation = 0,
    kLogWarning = 1,
    kLogError = 2
};

/// One entry of the session log. Made on the thread that it names.
struct KORVALE_API XSessionLogEntry
{
    XSessionLogEntry( XSessionLogLevel inLevel, const XString& inText, std::uint32_t inErrorNumber = 0 );

    /// The entry as it stands in the file, in the ANSI code page: time in UTC, level, thread, error number
    /// ("-" for none) and text, with tabs between. Further lines of the text follow indented by a tab, so
    /// that an entry begins wherever a line does not begin with one.
    ///
    ///     2026-03-05T16:07:08.901234Z    error    4711    1005    the stream is corrupted (1005)
    XString GetLine() const;

    XTime time;
    XSessionLogLevel level;
    std::uint32_t threadID;
    std::uint32_t errorNumber; ///< 0 for none
    XString text;
};
