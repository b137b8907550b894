#pragma once

#include "Ground/WWaitResult.h"
#include "Threads/XMutex.h"

#include <atomic>

/// Decides whose turn it is on a bridge on which several threads make calls that wait for a return. A thread
/// that makes one call after the other keeps its turn for about kTurnMS, because another one takes longer to
/// wake than a call takes. Only for speed: the sender mutex guards the sender. Internal to XRPCBridgeBase.
/// Threads: any.
class XRPCTurns
{
public:
    /// Waits for the turn of the calling thread. A checkpoint if it waits.
    void Enter();

    /// The call of the calling thread has ended. With `inMayKeep` the thread may keep its turn for its next
    /// call. Does nothing without a turn.
    void Leave( bool inMayKeep );

private:
    struct XWaiter;
    struct XHabit;

    static constexpr std::uint32_t kTurnMS = 2;

    static XHabit& GetHabit();
    bool EndTurn( bool inMayKeep );
    bool TryTake();
    bool TakeOver( XWaiter& ioWaiter, WWaitResult inResult );
    bool Wait();
    WWaitResult Sleep( XWaiter& ioWaiter );
    bool Spin() const;
    void Append( XWaiter& ioWaiter );
    void Remove( XWaiter& ioWaiter );
    void CallNext();

    XMutex itsMutex;
    // Changed under itsMutex:
    std::atomic<std::uint32_t> itsHolder = 0; // the thread's ID; 0 for none
    std::atomic<bool> itsIsInCall = false;    // else the holder keeps the turn for its next call
    // Guarded by itsMutex:
    XWaiter* itsNext = nullptr;  // limits the turn of the holder; always set while others wait
    bool itsNextIsLate = false;  // has waited for a whole turn, or found its turn taken
    XWaiter* itsFirst = nullptr; // of the others
};
