#pragma once

#include "Ground/XTypes.h"

/// The processors that this process may use, numbered from 0, and the time spent on them. Processors beyond
/// the 64th are not counted, but have numbers.
/// Threads: any thread.
class KORVALE_API WProcessors
{
public:
    /// The number of logical processors that this process may use; at least 1. Read once.
    static std::uint32_t GetCount();

    /// The system's numbers of these processors, and of those beyond the 64th, ascending.
    static const XVector<std::uint32_t>& GetSystemNumbers();

    /// For each physical core the indices of its logical processors, in ascending order.
    static const XVector<XVector<std::uint32_t>>& GetCores();

    /// For each logical processor the percentage of time, 0 to 100, that it was not idle since the previous
    /// call of any thread; on the first call, since the system started.
    static XVector<double> GetPercentLoads();

    /// CPU time of the process, and of the calling thread, in microseconds.
    static void GetProcessCPUTime( std::int64_t& outKernel, std::int64_t& outUser );
    static void GetThreadCPUTime( std::int64_t& outKernel, std::int64_t& outUser );

private:
    /// The running time of a processor, in the system's unit.
    struct Times
    {
        std::uint64_t busy = 0;
        std::uint64_t total = 0;
    };

    static XVector<std::uint32_t> FindSystemNumbers();
    static XVector<XVector<std::uint32_t>> FindCores();
    static XVector<Times> ReadTimes();
};
