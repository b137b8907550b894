#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <string_view>

/// The system's event log: syslog on Linux, the application log on Windows.
class KORVALE_API WEventLog
{
public:
    enum Type
    {
        kError = 1,
        kWarning = 2,
        kInformation = 4
    };

    /// The event ID of internal errors and crashes.
    static constexpr std::uint32_t kInternalErrorEvent = 0xC0000003u;

    /// Writes one entry. Never throws: if the log cannot be written, the entry is dropped.
    static void
    AddMsgToSystemEventLog( std::string_view inMessage, Type inType, std::uint32_t inEventID ) noexcept;
};
