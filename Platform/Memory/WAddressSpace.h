#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <vector>

/// The address space of the process and its regions.
class KORVALE_API WAddressSpace
{
public:
    enum State : std::uint32_t
    {
        kFree = 0,
        kReserved = 1, ///< allocated but not accessible
        kInUse = 2
    };

    /// Flags of a region's protection.
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

    /// All current regions, in order and without gaps, from address 0 to GetEnd. Adjacent regions of the same
    /// kind may be reported as one or several; free ones are always merged.
    static std::vector<Region> ReadRegions();

    /// The region of a `ReadRegions` result that contains an address; null beyond the last.
    static const Region* Find( const std::vector<Region>& inRegions, std::uint64_t inAddress );

    /// The end of the part of the address space that a process may use.
    static std::uint64_t GetEnd();

    /// The size of a page, and the granularity of mapping addresses; both are powers of two.
    static std::uint64_t GetPageSize();
    static std::uint64_t GetAllocationGranularity();
};
