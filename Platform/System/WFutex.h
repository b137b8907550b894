#pragma once

#include "Ground/WDeadline.h"

#include <atomic>

/// Sleeping on the value of a 32-bit word: the one thing that all waits of the library need of the system.
class WFutex
{
public:
    /// Sleeps while `ioWord` holds `inExpected`. Returns false when the deadline has passed; returns true
    /// when woken, when the word differs, or for no reason at all, so callers look again.
    static bool
    Wait( std::atomic<std::uint32_t>& ioWord, std::uint32_t inExpected, const WDeadline& inDeadline );

    /// Wakes every thread that sleeps on the word at this address. The word is not touched: it may be gone
    /// already.
    static void Wake( const std::atomic<std::uint32_t>* inAddress );

    /// Tells the processor that the caller spins.
    static void Pause();
};
