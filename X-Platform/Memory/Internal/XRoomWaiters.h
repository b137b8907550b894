#pragma once

#include "Ground/XTypes.h"
#include "Threads/XConditionVariable.h"
#include "Threads/XThreadLock.h"

#include <atomic>

/// The threads that wait for room in a manager's budget, and what they may hope for. Internal to the library.
///
/// Whether another thread may still make room is decided by one thread at a time, and a thread counts as waiting before
/// it decides and until something changes. So of threads that wait for each other's locks the last one finds that nobody
/// is left to unlock anything, and no two of them give up for the same reason.
///
/// What ends a hope - a lock or a transit is over - counts as a change in the same step: else a thread could decide
/// between the two, with neither the hope nor the change.
///
/// Threads: any.
class XRoomWaiters
{
public:
    /// A thread that lacks room, from its first attempt to the last. On the thread's stack.
    class XWaiter
    {
    public:
        explicit XWaiter( XRoomWaiters& ioAll );
        XWaiter( const XWaiter& ) = delete;
        XWaiter& operator=( const XWaiter& ) = delete;
        ~XWaiter();

        /// Before each further attempt: what changes from now on ends the next wait at once.
        void BeginAttempt();

        /// Whether a thread has been waiting all through this attempt: it has not unlocked anything meanwhile.
        bool HasWaitedMeanwhile( std::uint32_t inThread ) const;

        /// Asks `inGetPatience`, a function without parameters, for how many milliseconds there is hope, and waits for a
        /// change for that long. Returns false when there is none (0). An alertable wait.
        template<class GetPatience>
        bool WaitForChange( GetPatience inGetPatience )
        {
            std::uint32_t patienceMs = 0;
            {
                const XThreadLock decision( itsAll.itsDecisionMutex );
                BeginWait();
                patienceMs = inGetPatience();
                if ( patienceMs == 0 )
                    return EndWait();
            }
            Sleep( patienceMs );
            return true;
        }

    private:
        friend class XRoomWaiters;
        void BeginWait();
        bool EndWait();
        void Sleep( std::uint32_t inTimeoutMs );
        void NoteBeginning();

        XRoomWaiters& itsAll;
        const std::uint32_t itsThread;
        const std::uint32_t itsTransits; // of the thread
        // The rest is guarded by itsAll.itsMutex.
        std::uint64_t itsSeen = 0;         // the changes at the beginning of the attempt
        std::uint64_t itsEarlierWaits = 0; // the waits that had begun by then, of all threads
        std::uint64_t itsWait = 0;         // the number of this thread's last wait
        bool itsIsWaiting = false;
        XWaiter* itsNext = nullptr;
    };

    /// Bytes have been freed, or there is a block that may be purged and could not before.
    void SomethingChanged()
    {
        if ( itsCount.load() == 0 )
            return;
        const XThreadLock lock( itsMutex );
        WakeAll();
    }

    /// The calling thread brings a block into memory or out of it, which others can see only when that is done.
    void BeginTransit();
    void EndTransit();

    bool IsWaiting( std::uint32_t inThread ) const;
    /// Whether a thread that does not wait brings a block into memory or out of it.
    bool HasTransits() const { return itsTransits.load() > 0; }

private:
    void SetWaiting( XWaiter& ioWaiter, bool inIsWaiting );
    void WakeAll();

    XMutex itsDecisionMutex;
    std::atomic<std::uint32_t> itsCount = 0;    // of the waiters
    std::atomic<std::uint32_t> itsTransits = 0; // of threads that do not wait
    mutable XMutex itsMutex;                    // taken last; guards the rest
    XConditionVariable itsChanged;
    std::uint64_t itsChanges = 0;
    std::uint64_t itsWaits = 0; // begun so far
    XWaiter* itsFirst = nullptr;
};
