#pragma once

#include "System/WProcessors.h"

#include <algorithm>
#include <chrono>

/// Decides how often the calling thread retries, yielding in between, before it sleeps in a wait on a socket.
///
/// With several processors the retries take about as long as waking a thread on another processor. If earlier
/// waits were long, or there is only one processor, there are just enough retries for a peer that waits for
/// this processor to answer.
///
/// If other threads need the processor, yielding takes as long as their turns, whereas a sleeping thread is
/// woken before they continue. Therefore a long turn ends the retries, and the following waits have none;
/// their number grows each time this happens.
class WSocketSpin
{
public:
    WSocketSpin() : itsTurnsLeft( GetTurns() ) { ++GetHistory().longWaits; }

    bool HasTurn()
    {
        if ( itsTurnsLeft-- <= 0 )
            return false;
        const Clock::time_point now = Clock::now();
        const bool wasLong = itsIsInTurn && now - itsTurnBegin > kLongTurn;
        itsTurnBegin = now;
        itsIsInTurn = true;
        if ( wasLong )
            RecordLongTurn();
        return !wasLong;
    }

    /// Call it when a retry has ended the wait.
    void SetSucceeded()
    {
        History& history = GetHistory();
        history.longWaits = 0;
        if ( itsIsInTurn && Clock::now() - itsTurnBegin > kLongTurn )
            RecordLongTurn();
        else
            history.penalty = std::max( history.penalty - history.penalty / kDecay, kLeastPenalty );
    }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr int kTurns = 64;
    static constexpr int kFewTurns = 3;

    // After this many long waits in a row, a thread spins only in one of kWaitsPerTrial waits.
    static constexpr std::uint32_t kLongWaitsInARow = 4;
    static constexpr std::uint32_t kWaitsPerTrial = 32;

    // Several times the response time of a peer on this processor, and a fraction of the turn of a computing
    // thread.
    static constexpr std::chrono::microseconds kLongTurn{ 200 };
    static constexpr std::uint32_t kLeastPenalty = 64; // in waits
    static constexpr std::uint32_t kMostPenalty = 1024;
    static constexpr std::uint32_t kDecay = 32; // a success reduces the penalty by this fraction

    struct History
    {
        std::uint32_t longWaits = 0;
        std::uint32_t waitsToSkip = 0;
        std::uint32_t penalty = kLeastPenalty;
    };

    static int GetTurns()
    {
        History& history = GetHistory();
        if ( history.waitsToSkip > 0 )
        {
            --history.waitsToSkip;
            return 0;
        }
        const bool isWorthwhile = WProcessors::GetCount() > 1 &&
            ( history.longWaits < kLongWaitsInARow || history.longWaits % kWaitsPerTrial == 0 );
        return isWorthwhile ? kTurns : kFewTurns;
    }

    static void RecordLongTurn()
    {
        History& history = GetHistory();
        history.waitsToSkip = history.penalty;
        history.penalty = std::min( 2 * history.penalty, kMostPenalty );
    }

    static History& GetHistory()
    {
        static constinit thread_local History sHistory;
        return sHistory;
    }

    int itsTurnsLeft;
    bool itsIsInTurn = false;
    Clock::time_point itsTurnBegin;
};
