#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <filesystem>

/// The amount of memory available to this process, and of that in use, in bytes.
class KORVALE_API WMemoryLimits
{
public:
    static constexpr std::uint64_t kUnlimited = ~std::uint64_t( 0 );

    /// The machine's memory.
    static std::uint64_t GetMachineBytes();

    /// The limit that the container (a control group on Linux, a job object on Windows) sets for all its
    /// processes together; kUnlimited if there is none.
    static std::uint64_t GetContainerBytes();

    /// The smaller of the two.
    static std::uint64_t GetBytes();

    /// The memory that this process occupies now, shared libraries included; 0 if the system does not tell.
    static std::uint64_t GetProcessBytes();

    /// The smallest limit of a control group and its ancestors, in the file system of control groups mounted
    /// at `inRoot`. `inMembership` is a file with the format of `/proc/self/cgroup`. Supports both versions
    /// of control groups. For tests; always kUnlimited on Windows.
    static std::uint64_t
    ReadControlGroups( const std::filesystem::path& inRoot, const std::filesystem::path& inMembership );
};
