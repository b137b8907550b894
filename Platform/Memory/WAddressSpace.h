#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <vector>

/// The address space of the process as the system divides it up.
class KORVALE_API WAddressSpace
{
public:
    enum State : std::uint32_t
    {
        kFree = 0,
        kReserved = 1, ///< taken, but nothing can be read there
        kInUse = 2
    };

    /// Bits of a region's protection.
    static constexpr std::uint32_t kCanRead = 1;
    static constexpr std::uint32_t kCanWrite = 2;
    static constexpr std::uint32_t kCanExecute = 4;

    struct Region
    {
        std::uint64_t base;
        std::uint64_t size; ///< bytes
        State state;
        std::uint32_t protection;

        std::uint64_t GetEnd() const { return base + size; }
    };

    /// All regions at this moment, in order and without gaps from address 0 to the end of what a process may use.
    /// Neighbours of the same kind may be one region or several, except for free ones, which are one.
    static std::vector<Region> ReadRegions();

    /// Of `ReadRegions`' result the region around an address; null beyond the last.
    static const Region* Find( const std::vector<Region>& inRegions, std::uint64_t inAddress );

    /// Where the part of the address space ends that a process may use.
    static std::uint64_t GetEnd();

    /// The size of a page, and the multiple at which mappings begin; powers of two.
    static std::uint64_t GetPageSize();
    static std::uint64_t GetAllocationGranularity();
};
