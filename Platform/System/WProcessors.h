#pragma once

#include "Ground/XTypes.h"

/// The processors that this process may run on, numbered from 0, and the time spent on them. Those beyond the 64th are
/// not counted, but have numbers.
/// Threads: any thread.
class KORVALE_API WProcessors
{
public:
    /// Logical processors that this process may run on; at least 1. Asked of the system once.
    static std::uint32_t GetCount();

    /// For each of these, and for those beyond the 64th, the system's own number, ascending.
    static const XVector<std::uint32_t>& GetSystemNumbers();

    /// For each physical core the indexes of its logical processors, in ascending order.
    static const XVector<XVector<std::uint32_t>>& GetCores();

    /// For each logical processor the share of time, 0 to 100, that it was not idle since the previous call
    /// of any thread; since the start of the system on the first call.
    static XVector<double> GetPercentLoads();

    /// CPU time of the process, and of the calling thread, in microseconds.
    static void GetProcessCPUTime( std::int64_t& outKernel, std::int64_t& outUser );
    static void GetThreadCPUTime( std::int64_t& outKernel, std::int64_t& outUser );

private:
    /// How long a processor has run, in the system's unit.
    struct Times
    {
        std::uint64_t busy = 0;
        std::uint64_t total = 0;
    };

    static XVector<std::uint32_t> FindSystemNumbers();
    static XVector<XVector<std::uint32_t>> FindCores();
    static XVector<Times> ReadTimes();
};
