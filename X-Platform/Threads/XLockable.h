#pragma once

#include "Threads/XThreadLock.h"

class XDataFetcher;

/// The access that an object is locked for. Reading and writing are bits.
enum XLockMode : std::uint32_t
{
    kLockNone = 0,
    kLockForRead = 1,
    kLockForWrite = 2,
    kLockForReadWrite = 3
};

/// An object whose contents are accessible only while it is locked through XLock. Derived classes define the
/// meaning of a lock: the base excludes no one and counts nothing; it calls `LockSelf` and `UnlockSelf` under
/// the object's mutex and has the data fetched before the first lock.
/// Ownership: a data fetcher is not owned; it must live until the data has been fetched or another fetcher is
/// set.
/// Threads: any thread may lock and unlock.
class KORVALE_API XLockable
{
public:
    /// A copy has its own mutex; the dirty flag and a fetcher not yet used are copied.
    XLockable( const XLockable& inOther );
    XLockable& operator=( const XLockable& inOther );
    virtual ~XLockable();

    /// Whether the contents have changed since they were last saved.
    bool IsDirty() const { return itsIsDirty.load( std::memory_order_relaxed ); }
    void SetDirtyFlag( bool inIsDirty ) { itsIsDirty.store( inIsDirty, std::memory_order_relaxed ); }
    void ResetDirtyFlag() { SetDirtyFlag( false ); }

    /// The fetcher that the next lock uses, once; null if there is nothing to fetch.
    virtual void SetDataFetcher( XDataFetcher* inFetcher );
    XDataFetcher* GetDataFetcher() const;

    XMutex& GetMutex() const { return itsMutex; }

protected:
    XLockable() = default;

    /// Fetches the data if there is a fetcher, then calls `LockSelf`, both under the mutex. If either throws,
    /// the object is not locked.
    void Lock( XLockMode inMode );

    /// Calls `UnlockSelf` under the mutex.
    void Unlock( XLockMode inMode );

    /// For objects that lock other objects in turn.
    static void LockFor( XLockable& ioObject, XLockMode inMode ) { ioObject.Lock( inMode ); }
    static void UnlockFor( XLockable& ioObject, XLockMode inMode ) { ioObject.Unlock( inMode ); }

    virtual void LockSelf( XLockMode inMode ) = 0;

    /// Must not throw for a lock granted by `LockSelf`.
    virtual void UnlockSelf( XLockMode inMode ) = 0;

    /// Makes the fetcher fill the object, then clears the fetcher. Called under the mutex.
    virtual void FetchData();

private:
    friend class XLock;

    mutable XMutex itsMutex;
    XDataFetcher* itsDataFetcher = nullptr; // guarded by itsMutex
    std::atomic<bool> itsIsDirty = false;
};
