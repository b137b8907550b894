#include "Threads/XLock.h"

#include "TestThread.h"
#include "Threads/XDataFetcher.h"

namespace
{
struct Lockable : XLockable
{
    int locks = 0;
    int data = 0;
    bool fails = false;

protected:
    void LockSelf( XLockMode ) override
    {
        GetMutex().AssertIsLocked();
        if ( fails )
            XThrow( 1012 );
        ++locks;
    }
    void UnlockSelf( XLockMode ) override { --locks; }
};

struct Fetcher : XDataFetcher
{
    int calls = 0;
    bool fails = true;

    void FetchData( XLockable& ioObject ) override
    {
        ++calls;
        if ( fails )
            XThrow( 1005 );
        const XLock lock( ioObject, kLockForWrite ); // does not fetch again
        static_cast<Lockable&>( ioObject ).data = 42;
    }
};
} // namespace

TEST( XLockTest, UnlocksWhatItHolds )
{
    Lockable object;
    {
        XLock lock( &object, kLockForRead );
        EXPECT_EQ( kLockForRead, lock.GetLockMode() );
        const XLock nested( object, kLockForReadWrite );
        EXPECT_EQ( 2, object.locks );
        lock.Unlock();
        EXPECT_EQ( 1, object.locks );
    }
    EXPECT_EQ( 0, object.locks );
    object.fails = true;
    EXPECT_ERROR( 1012, const XLock lock( object, kLockForRead ) );
    EXPECT_EQ( 0, object.locks );
    EXPECT_ERROR( 1006, const XLock lock( nullptr, kLockForRead ) );
}

TEST( XLockableTest, FetchesItsDataOnceItCan )
{
    Lockable object;
    Fetcher fetcher;
    object.SetDataFetcher( &fetcher );
    EXPECT_ERROR( 1005, const XLock lock( object, kLockForRead ) );
    EXPECT_EQ( 0, object.locks );
    fetcher.fails = false;
    for ( int turn = 0; turn < 2; ++turn )
    {
        const XLock lock( object, kLockForRead );
        EXPECT_EQ( 42, object.data );
    }
    EXPECT_EQ( 2, fetcher.calls );
    EXPECT_EQ( nullptr, object.GetDataFetcher() );
}
