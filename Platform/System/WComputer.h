#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <string>

/// Describes the operating system and this process, for lists of machines.
/// Threads: any thread.
class KORVALE_API WComputer
{
public:
    /// Name, release and processor architecture of the system: "Linux 6.1.0-18-amd64 x86_64",
    /// "Windows 10.0.19045 x86_64". Empty if unavailable.
    static std::string GetSystemDescription();

    /// The process ID.
    static std::uint32_t GetProcessID();
};
