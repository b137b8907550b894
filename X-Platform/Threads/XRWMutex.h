#pragma once

#include "Threads/XConditionVariable.h"

#include <utility>

/// The access that an XRWMutex is locked for.
enum XRWLockMode : std::uint32_t
{
    /// Shared with other readers.
    kRWLockForRead = 0,
    /// One writer that admits readers: like every write lock it starts without readers, but then admits
    /// readers as long as no other writer waits. For work whose results become visible to readers step by
    /// step.
    kRWLockForSharedWrite = 1,
    /// One writer and no readers.
    kRWLockForWrite = 2
};

/// A reader/writer mutex that prefers writers: while a writer waits, no new reader is admitted. Writers take
/// turns in the order of arrival.
///
/// Locks are re-entrant: a thread that holds a lock of either kind gets a read lock at once, and a writer
/// gets write locks at once (a kRWLockForWrite inside a kRWLockForSharedWrite first waits for the admitted
/// readers). A reader may request a write lock: it takes precedence over other writers and waits for the
/// other readers to leave. Two readers that both do this would deadlock, so the second request is an internal
/// error, "upgradingThreadID == 0". When a thread releases its write locks and keeps read locks, it continues
/// as a reader.
///
/// Threads: any; a lock must be released by the thread that took it.
/// Errors: 2701 on a time-out; internal errors for unlocking what is not locked. Alertable waits are
/// checkpoints like those of XConditionVariable.
class KORVALE_API XRWMutex
{
public:
    XRWMutex() = default;
    XRWMutex( const XRWMutex& ) = delete;
    XRWMutex& operator=( const XRWMutex& ) = delete;

    void Lock( XRWLockMode inMode, std::uint32_t inTimeoutMS = kNoTimeout, bool inAlertable = false );
    void Unlock( XRWLockMode inMode );

    bool IsLockedForWriteInCurrentThread() const;

private:
    /// The locks that one thread holds.
    struct XThreadLocks
    {
        std::uint32_t reads = 0;
        std::uint32_t writes = 0;

        bool IsReader() const { return reads > 0; }
        bool IsWriter() const { return writes > 0; }
    };
    // A vector, because there are few threads: searching it is faster than a map.
    using XThreadMap = XVector<std::pair<std::uint32_t, XThreadLocks>>;

    struct XPendingWrite
    {
        explicit XPendingWrite( std::uint32_t inThreadID ) : threadID( inThreadID ) {}
        std::uint32_t threadID;
        XConditionVariable mayProceed;
    };

    void LockForRead( const WDeadline& inDeadline, bool inAlertable );
    void LockForWrite( XRWLockMode inMode, const WDeadline& inDeadline, bool inAlertable );
    void
    WaitForWrite( std::uint32_t inThreadID, bool inIsReader, const WDeadline& inDeadline, bool inAlertable );
    void WaitForReadersToFinish( const WDeadline& inDeadline, bool inAlertable );
    void UnlockRead();
    void UnlockWrite( XRWLockMode inMode );
    void ForgetPendingWrite( XPendingWrite& inWrite );

    bool MayReaderEnter() const;
    bool MayWrite( const XPendingWrite& inWrite ) const;
    bool AreOthersReading( std::uint32_t inThreadID ) const;
    bool IsActiveWriter( std::uint32_t inThreadID ) const;
    void WakeThreads();

    XThreadMap::iterator FindThread( std::uint32_t inThreadID );
    XThreadLocks& GetThread( std::uint32_t inThreadID );
    void ForgetThreadWithoutLocks( XThreadMap::iterator inThread );

    mutable XMutex itsMutex; // guards the members below
    XConditionVariable itsReadersMayProceed;
    XConditionVariable itsReadersHaveFinished;
    XVector<XPendingWrite*> itsPendingWrites; // in the order of their turns
    XThreadMap threadMap;
    std::uint32_t itsActiveReads = 0; // threads that hold read locks
    bool isActiveWriter = false;
    std::uint32_t writerThreadID = 0;
    std::uint32_t itsExclusiveWrites = 0; // the active writer's locks of mode kRWLockForWrite
    std::uint32_t upgradingThreadID = 0;  // already holds a lock and waits for the other readers to leave
};
