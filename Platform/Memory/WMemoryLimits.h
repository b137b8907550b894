#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <filesystem>

/// How much memory there is for this process, in bytes.
class KORVALE_API WMemoryLimits
{
public:
    static constexpr std::uint64_t kUnlimited = ~std::uint64_t( 0 );

    /// The machine's memory.
    static std::uint64_t GetMachineBytes();

    /// What the container (the control group on Linux, the job object on Windows) allows its processes together;
    /// kUnlimited when it sets no limit.
    static std::uint64_t GetContainerBytes();

    /// The smaller of the two.
    static std::uint64_t GetBytes();

    /// The smallest limit of a control group and those around it, in the file system of control groups mounted at
    /// `inRoot`, with the contents of `/proc/self/cgroup`. Takes both versions of that file system. For tests; always
    /// kUnlimited on Windows.
    static std::uint64_t
    ReadControlGroups( const std::filesystem::path& inRoot, const std::filesystem::path& inMembership );
};
