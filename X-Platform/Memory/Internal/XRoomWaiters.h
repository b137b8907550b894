#pragma once

#include "Ground/XTypes.h"
#include "Threads/XConditionVariable.h"
#include "Threads/XThreadLock.h"

#include <atomic>

/// The threads that wait for room in a manager's budget. Internal to the library.
///
/// One thread at a time decides whether another thread may still make room, and a thread counts as waiting
/// from before its decision until the next change. Therefore, of threads that wait for each other's locks,
/// the last one finds that no thread is left to unlock anything, and no two of them give up for the same
/// reason.
///
/// The end of a lock or a transit is recorded as a change in the same step; otherwise a thread could decide
/// between the two and see neither.
///
/// Threads: any.
class XRoomWaiters
{
public:
    /// A thread that needs room, from its first attempt to the last. Lives on the thread's stack.
    class XWaiter
    {
    public:
        explicit XWaiter( XRoomWaiters& ioAll );
        XWaiter( const XWaiter& ) = delete;
        XWaiter& operator=( const XWaiter& ) = delete;
        ~XWaiter();

        /// Call before each further attempt: changes from now on end the next wait at once.
        void BeginAttempt();

        /// Whether a thread has been waiting for the whole attempt, and so has not unlocked anything.
        bool HasWaitedMeanwhile( std::uint32_t inThread ) const;

        /// Calls `inGetPatience()` for the number of milliseconds to wait, and waits for a change for that
        /// long. Returns false if the number is 0, which means that no thread can make room. An alertable
        /// wait.
        template<class TGetPatience>
        bool WaitForChange( TGetPatience inGetPatience )
        {
            std::uint32_t patienceMS = 0;
            {
                const XThreadLock decision( itsAll.itsDecisionMutex );
                BeginWait();
                patienceMS = inGetPatience();
                if ( patienceMS == 0 )
                    return EndWait();
            }
            Sleep( patienceMS );
            return true;
        }

    private:
        friend class XRoomWaiters;
        void BeginWait();
        bool EndWait();
        void Sleep( std::uint32_t inTimeoutMS );
        void NoteBeginning();

        XRoomWaiters& itsAll;
        const std::uint32_t itsThread;
        const std::uint32_t itsTransits; // of the thread
        // The rest is guarded by itsAll.itsMutex.
        std::uint64_t itsSeen = 0;         // the number of changes at the beginning of the attempt
        std::uint64_t itsEarlierWaits = 0; // the number of waits of all threads begun by then
        std::uint64_t itsWait = 0;         // the number of this thread's last wait
        bool itsIsWaiting = false;
        XWaiter* itsNext = nullptr;
    };

    /// Call when bytes have been freed or a block has become purgeable.
    void SomethingChanged()
    {
        if ( itsCount.load() == 0 )
            return;
        const XThreadLock lock( itsMutex );
        WakeAll();
    }

    /// The calling thread begins to bring a block into or out of memory; other threads see the result only at
    /// the end.
    void BeginTransit();
    void EndTransit();

    bool IsWaiting( std::uint32_t inThread ) const;
    /// Whether a thread that is not waiting brings a block into or out of memory.
    bool HasTransits() const { return itsTransits.load() > 0; }

private:
    void SetWaiting( XWaiter& ioWaiter, bool inIsWaiting );
    void WakeAll();

    XMutex itsDecisionMutex;
    std::atomic<std::uint32_t> itsCount = 0;    // of waiters
    std::atomic<std::uint32_t> itsTransits = 0; // of threads that are not waiting
    mutable XMutex itsMutex;                    // taken last; guards the members below
    XConditionVariable itsChanged;
    std::uint64_t itsChanges = 0;
    std::uint64_t itsWaits = 0; // begun so far
    XWaiter* itsFirst = nullptr;
};
