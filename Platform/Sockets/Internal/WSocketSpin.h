#pragma once

#include "System/WProcessors.h"

#include <algorithm>
#include <chrono>

/// How often the calling thread tries again, giving way in between, before it sleeps in a wait on a socket.
///
/// On several processors the tries take about as long as waking a thread on another processor. Where waits have proved
/// long, or there is but one processor, they are just enough for a peer that waits for this processor to answer.
///
/// Where other threads want the processor, giving way takes as long as they like, while a sleeping thread is woken before
/// they go on. So a turn that took long ends the tries, and the next waits have none: the more often it happens, the more
/// waits.
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
            NoteLongTurn();
        return !wasLong;
    }

    /// A try has ended the wait.
    void SetSucceeded()
    {
        History& history = GetHistory();
        history.longWaits = 0;
        if ( itsIsInTurn && Clock::now() - itsTurnBegin > kLongTurn )
            NoteLongTurn();
        else
            history.penalty = std::max( history.penalty - history.penalty / kDecay, kLeastPenalty );
    }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr int kTurns = 64;
    static constexpr int kFewTurns = 3;

    // A thread whose waits have proved long this often in a row spins in every so manieth wait only.
    static constexpr std::uint32_t kLongWaitsInARow = 4;
    static constexpr std::uint32_t kWaitsPerTrial = 32;

    // Several times what a peer on this processor takes to answer, and a fraction of the turn of one that computes.
    static constexpr std::chrono::microseconds kLongTurn{ 200 };
    static constexpr std::uint32_t kLeastPenalty = 64; // waits
    static constexpr std::uint32_t kMostPenalty = 1024;
    static constexpr std::uint32_t kDecay = 32; // a success makes it smaller by this part

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

    static void NoteLongTurn()
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
