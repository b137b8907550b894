#pragma once

#include "Ground/WDeadline.h"

#include <atomic>

/// Sleeping on the value of a 32-bit word: the only system service that the library's waits use.
class WFutex
{
public:
    /// Sleeps while `ioWord` equals `inExpected`. Returns false at the deadline; returns true when woken, if
    /// the word differs, or spuriously, so callers must check again.
    static bool
    Wait( std::atomic<std::uint32_t>& ioWord, std::uint32_t inExpected, const WDeadline& inDeadline );

    /// Wakes every thread that sleeps on the word at this address. Does not access the word, which may no
    /// longer exist.
    static void Wake( const std::atomic<std::uint32_t>* inAddress );

    /// Tells the processor that the caller is spinning.
    static void Pause();
};
