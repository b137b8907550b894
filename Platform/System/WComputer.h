#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <string>

/// This computer's operating system and this process, for people who look at a list of machines.
/// Threads: any thread.
class KORVALE_API WComputer
{
public:
    /// Name, release and processor architecture of the system: "Linux 6.1.0-18-amd64 x86_64",
    /// "Windows 10.0.19045 x86_64". Empty where the system does not tell.
    static std::string GetSystemDescription();

    /// The system's number of this process.
    static std::uint32_t GetProcessID();
};
