#pragma once

#include "WPlatform.h"

#include <string_view>

/// Reports a crash of the process - a fatal signal on Linux, an unhandled structured exception or an abort on
/// Windows - before the system ends it as usual.
class KORVALE_API WCrashHandler
{
public:
    /// Receives the description of the crash and the crash dump. Called at most once per process, while the
    /// crashed thread waits. The process may be damaged in any way, so the function should only write the
    /// text somewhere. It is cut off after half a minute.
    using Report = void ( * )( std::string_view inText );

    /// Installs the handlers for the process; a second call only changes the report. Signals that already
    /// have a handler are not changed. Must not be called by several threads at once.
    static void Install( Report inReport );

    /// Restores the handlers replaced by `Install`.
    static void Remove();
};
