#pragma once

#include "System/WProcessors.h"

/// How often the calling thread tries again before it sleeps in a wait on a socket.
///
/// On several processors the tries take about as long as waking a thread on another processor. Where waits have proved
/// long, or there is but one processor, they are just enough for a peer that waits for this processor to answer.
class WSocketSpin
{
public:
    WSocketSpin() : itsTurnsLeft( IsWorthwhile() ? kTurns : kFewTurns ) { ++LongWaits(); }

    bool HasTurn() { return itsTurnsLeft-- > 0; }

    /// A try has ended the wait.
    void SetSucceeded() { LongWaits() = 0; }

private:
    static constexpr int kTurns = 64;
    static constexpr int kFewTurns = 3;

    // A thread whose waits have proved long this often in a row spins in every so manieth wait only.
    static constexpr std::uint32_t kLongWaitsInARow = 4;
    static constexpr std::uint32_t kWaitsPerTrial = 32;

    static bool IsWorthwhile()
    {
        return WProcessors::GetCount() > 1 &&
            ( LongWaits() < kLongWaitsInARow || LongWaits() % kWaitsPerTrial == 0 );
    }

    static std::uint32_t& LongWaits()
    {
        static constinit thread_local std::uint32_t sLongWaits = 0;
        return sLongWaits;
    }

    int itsTurnsLeft;
};
