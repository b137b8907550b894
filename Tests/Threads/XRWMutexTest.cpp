#include "Threads/XRWMutex.h"

#include "TestThread.h"
#include "Threads/XRWLock.h"

namespace
{

/// Whether another thread gets the lock at once.
bool OtherThreadGets( XRWMutex& inMutex, XRWLockMode inMode )
{
    bool gets = false;
    RunTogether( [&] { gets = ErrorOrZero( [&] { const XRWLock lock( inMutex, inMode, 0 ); } ) == 0; } );
    return gets;
}

/// A thread that asks for a write lock and gives it back once it has it.
struct WaitingWriter
{
    explicit WaitingWriter( XRWMutex& inMutex )
        : itsThread( [&] { const XRWLock lock( inMutex, kRWLockForWrite ); } )
    {
        while ( OtherThreadGets( inMutex, kRWLockForRead ) ) // no longer, once the writer waits
            std::this_thread::yield();
    }
    ~WaitingWriter() { itsThread.join(); }

private:
    std::thread itsThread;
};

} // namespace

TEST( XRWMutexTest, KeepsApartReadersAndWriters )
{
    XRWMutex mutex;
    {
        const XRWLock read( mutex, kRWLockForRead );
        EXPECT_TRUE( OtherThreadGets( mutex, kRWLockForRead ) );
        EXPECT_FALSE( OtherThreadGets( mutex, kRWLockForWrite ) );
        EXPECT_FALSE( mutex.IsLockedForWriteInCurrentThread() );
    }
    const XRWLock write( mutex, kRWLockForWrite );
    EXPECT_TRUE( mutex.IsLockedForWriteInCurrentThread() );
    EXPECT_FALSE( OtherThreadGets( mutex, kRWLockForRead ) );
    EXPECT_FALSE( OtherThreadGets( mutex, kRWLockForSharedWrite ) );
}

TEST( XRWMutexTest, IsReentrantWhileOthersWait )
{
    XRWMutex mutex;
    auto write = std::make_unique<XRWLock>( mutex, kRWLockForWrite );
    std::unique_ptr<XRWLock> read;
    std::thread writer( [&] { const XRWLock lock( mutex, kRWLockForWrite ); } );
    {
        const XRWLock again( mutex, kRWLockForWrite, 0 );
        read = std::make_unique<XRWLock>( mutex, kRWLockForRead, 0 );
        const XRWLock readAgain( mutex, kRWLockForRead, 0 );
    }
    write.reset(); // goes on as a reader
    EXPECT_FALSE( mutex.IsLockedForWriteInCurrentThread() );
    EXPECT_FALSE( OtherThreadGets( mutex, kRWLockForWrite ) );
    read.reset();
    writer.join();
    EXPECT_TRUE( OtherThreadGets( mutex, kRWLockForWrite ) );
}

TEST( XRWMutexTest, PrefersWritersUntilTheyGiveUp )
{
    XRWMutex mutex;
    const XRWLock read( mutex, kRWLockForRead );
    std::atomic<bool> hasGivenUp = false;
    std::thread writer(
        [&]
        {
            EXPECT_ERROR( 2701, mutex.Lock( kRWLockForWrite, 200 ) );
            hasGivenUp = true;
        } );
    while ( !hasGivenUp && OtherThreadGets( mutex, kRWLockForRead ) )
        std::this_thread::yield();
    RunTogether(
        [&] { const XRWLock late( mutex, kRWLockForRead, kPatience ); } ); // woken by the writer's leaving
    writer.join();
}

TEST( XRWMutexTest, SharedWriterLetsReadersInUntilAnotherWriterWaits )
{
    XRWMutex mutex;
    {
        const XRWLock shared( mutex, kRWLockForSharedWrite );
        EXPECT_TRUE( OtherThreadGets( mutex, kRWLockForRead ) );
        EXPECT_FALSE( OtherThreadGets( mutex, kRWLockForSharedWrite ) );
        const XRWLock exclusive( mutex, kRWLockForWrite );
        EXPECT_FALSE( OtherThreadGets( mutex, kRWLockForRead ) );
    }
    mutex.Lock( kRWLockForSharedWrite );
    const WaitingWriter writer( mutex );
    EXPECT_FALSE( OtherThreadGets( mutex, kRWLockForRead ) );
    mutex.Unlock( kRWLockForSharedWrite );
}

TEST( XRWMutexTest, SharedWriterWaitsForItsReadersToBecomeExclusive )
{
    XRWMutex mutex;
    Halt halt;
    mutex.Lock( kRWLockForSharedWrite );
    std::thread reader(
        [&]
        {
            const XRWLock lock( mutex, kRWLockForRead );
            halt.Stop();
        } );
    halt.AwaitStop();
    EXPECT_ERROR( 2701, mutex.Lock( kRWLockForWrite, 10 ) );
    EXPECT_TRUE( OtherThreadGets( mutex, kRWLockForRead ) );
    halt.GoOn();
    mutex.Lock( kRWLockForWrite );
    reader.join();
    mutex.Unlock( kRWLockForWrite );
    mutex.Unlock( kRWLockForSharedWrite );
}

TEST( XRWMutexTest, ReaderBecomesWriterBeforeOthers )
{
    XRWMutex mutex;
    mutex.Lock( kRWLockForRead );
    const WaitingWriter writer( mutex );
    mutex.Lock( kRWLockForWrite, kPatience );
    EXPECT_TRUE( mutex.IsLockedForWriteInCurrentThread() );
    mutex.Unlock( kRWLockForWrite );
    mutex.Unlock( kRWLockForRead );
}

TEST( XRWMutexTest, TellsOfTwoReadersThatWantToWrite )
{
    XRWMutex mutex;
    mutex.Lock( kRWLockForRead );
    WEvent reads;
    std::thread other(
        [&]
        {
            mutex.Lock( kRWLockForRead );
            reads.Set();
            mutex.Lock( kRWLockForWrite );
            mutex.Unlock( kRWLockForWrite );
            mutex.Unlock( kRWLockForRead );
        } );
    reads.Wait();
    while ( OtherThreadGets( mutex, kRWLockForRead ) )
        std::this_thread::yield();
    EXPECT_ERROR( 1006, mutex.Lock( kRWLockForWrite ) );
    mutex.Unlock( kRWLockForRead );
    other.join();
}

TEST( XRWMutexTest, TellsMisuse )
{
    XRWMutex mutex;
    EXPECT_ERROR( 1006, mutex.Unlock( kRWLockForRead ) );
    EXPECT_ERROR( 1006, mutex.Unlock( kRWLockForWrite ) );
    const XRWLock shared( mutex, kRWLockForSharedWrite );
    EXPECT_ERROR( 1006, mutex.Unlock( kRWLockForRead ) );
    EXPECT_ERROR( 1006, mutex.Unlock( kRWLockForWrite ) );
    RunTogether( [&] { EXPECT_ERROR( 1006, mutex.Unlock( kRWLockForSharedWrite ) ); } );
}

TEST( XRWMutexTest, HoldsItsPromisesUnderLoad )
{
    XRWMutex mutex;
    std::atomic<int> readers = 0;
    std::atomic<int> writers = 0;
    const auto work = [&]( std::uint32_t inSeed )
    {
        for ( std::uint32_t turn = inSeed; turn < inSeed + 10'000; ++turn )
        {
            try
            {
                const std::uint32_t timeout = turn % 5 == 0 ? 1 : kPatience;
                if ( turn % 4 == 0 )
                {
                    const XRWLock lock( mutex, kRWLockForWrite, timeout );
                    const XRWLock nested( mutex, kRWLockForRead );
                    EXPECT_EQ( 1, ++writers );
                    EXPECT_EQ( 0, readers );
                    --writers;
                }
                else if ( turn % 4 == 1 )
                {
                    const XRWLock lock( mutex, kRWLockForSharedWrite, timeout );
                    EXPECT_EQ( 1, ++writers );
                    --writers;
                }
                else
                {
                    const XRWLock lock( mutex, kRWLockForRead, timeout );
                    ++readers;
                    EXPECT_LE( writers, 1 );
                    --readers;
                }
            }
            catch ( const XException& exception )
            {
                EXPECT_EQ( 2701u, exception.GetErrorNumber() );
            }
        }
    };
    RunTogether( [&] { work( 0 ); }, [&] { work( 1 ); }, [&] { work( 2 ); }, [&] { work( 3 ); } );
    const XRWLock lock( mutex, kRWLockForWrite, 0 );
}
