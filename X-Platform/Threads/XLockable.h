#pragma once

#include "Threads/XThreadLock.h"

class XDataFetcher;

/// What an object is locked for. Reading and writing are bits.
enum XLockMode : std::uint32_t
{
    kLockNone = 0,
    kLockForRead = 1,
    kLockForWrite = 2,
    kLockForReadWrite = 3
};

/// An object whose contents can be reached only while it is locked, through XLock. What locking means is the
/// class's: the base counts nothing and keeps nobody out, it calls `LockSelf` and `UnlockSelf` under the
/// object's mutex and has the data fetched before the first lock.
/// Ownership: a data fetcher is not owned; it lives until the data has been fetched or another fetcher is
/// set.
/// Threads: any thread may lock and unlock.
class KORVALE_API XLockable
{
public:
    /// Copies share nothing: each has its own mutex. The dirty flag and a fetcher not used yet are copied.
    XLockable( const XLockable& inOther );
    XLockable& operator=( const XLockable& inOther );
    virtual ~XLockable();

    /// Tells whether the contents were changed since they were last saved.
    bool IsDirty() const { return itsIsDirty.load( std::memory_order_relaxed ); }
    void SetDirtyFlag( bool inIsDirty ) { itsIsDirty.store( inIsDirty, std::memory_order_relaxed ); }
    void ResetDirtyFlag() { SetDirtyFlag( false ); }

    /// The fetcher that the next lock uses, once; null when there is nothing to fetch.
    virtual void SetDataFetcher( XDataFetcher* inFetcher );
    XDataFetcher* GetDataFetcher() const;

    XMutex& GetMutex() const { return itsMutex; }

protected:
    XLockable() = default;

    /// Fetches the data if there is a fetcher, then calls `LockSelf`, under the mutex. When either throws,
    /// the object is not locked.
    void Lock( XLockMode inMode );

    /// Calls `UnlockSelf` under the mutex.
    void Unlock( XLockMode inMode );

    /// For objects that lock others in turn.
    static void LockFor( XLockable& ioObject, XLockMode inMode ) { ioObject.Lock( inMode ); }
    static void UnlockFor( XLockable& ioObject, XLockMode inMode ) { ioObject.Unlock( inMode ); }

    virtual void LockSelf( XLockMode inMode ) = 0;

    /// Must not throw for what `LockSelf` has locked.
    virtual void UnlockSelf( XLockMode inMode ) = 0;

    /// Has the fetcher fill the object and forgets the fetcher. Called under the mutex.
    virtual void FetchData();

private:
    friend class XLock;

    mutable XMutex itsMutex;
    XDataFetcher* itsDataFetcher = nullptr; // guarded by itsMutex
    std::atomic<bool> itsIsDirty = false;
};
