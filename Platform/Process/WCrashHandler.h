#pragma once

#include "WPlatform.h"

#include <string_view>

/// Reports a crash of the process - a fatal signal on Linux, an unhandled structured exception or an abort on Windows -
/// before the system ends it as it would have done anyway.
class KORVALE_API WCrashHandler
{
public:
    /// Receives the description of the crash and the crash dump. Called at most once per process, while the thread that
    /// crashed waits and in a state where anything may be broken: it should do no more than write the text somewhere. A
    /// report that does not end within half a minute is cut off.
    using Report = void ( * )( std::string_view inText );

    /// Installs the handlers for the whole process; a second call only changes the report. Signals that
    /// somebody else handles already are left alone. Not to be called by several threads at once.
    static void Install( Report inReport );

    /// Puts back what was there before `Install`.
    static void Remove();
};
