#include "Memory/TestManager.h"
#include "Threads/TestThread.h"

namespace
{

constexpr std::size_t kHandles = 200;
constexpr unsigned kThreads = 8;
constexpr USize64 kLargest = 16 * 1024;

/// A handle and the seed of what was last written to it. The mutex keeps others out from the check to the next write, as
/// it does in programs that write: what the handle itself has to withstand are purges and locks from elsewhere.
struct Piece
{
    std::mutex mutex;
    XMappedFileMemoryHandle handle;
    unsigned seed = 0;
};

struct Storm
{
    Storm()
    {
        for ( auto& piece : itsPieces )
        {
            piece.handle = XMappedFileMemoryHandle( kLargest );
            Fill( piece.handle, 0 );
        }
    }

    void Work( unsigned inThread )
    {
        std::minstd_rand random( inThread + 100 * static_cast<unsigned>( GTEST_FLAG_GET( random_seed ) ) );
        for ( int turn = 0; turn < Rounds( 200 ); ++turn )
        {
            Piece& piece = itsPieces[random() % kHandles];
            const std::lock_guard lock( piece.mutex );
            ASSERT_TRUE( Holds( piece.handle, piece.seed ) );
            const auto action = random() % 6;
            if ( action == 0 )
                Fill( piece.handle, piece.seed = static_cast<unsigned>( random() ) );
            else if ( action == 1 )
            {
                piece.handle.Resize( 1 + random() % kLargest );
                Fill( piece.handle, piece.seed );
            }
            else if ( action == 2 )
                CopyToAnother( piece, random() % kHandles );
            else if ( action == 3 )
                piece.handle.Purge();
            else if ( action == 4 )
                WriteCopy( piece );
            else
                piece.handle.GetBlock()->CanPurge();
        }
    }

    void CheckAll()
    {
        for ( auto& piece : itsPieces )
            EXPECT_TRUE( Holds( piece.handle, piece.seed ) );
    }

private:
    void CopyToAnother( Piece& ioPiece, std::size_t inOther )
    {
        Piece& other = itsPieces[inOther];
        if ( &other == &ioPiece || !other.mutex.try_lock() )
            return;
        const std::lock_guard lock( other.mutex, std::adopt_lock );
        other.handle = ioPiece.handle;
        other.seed = ioPiece.seed;
    }

    static void WriteCopy( Piece& ioPiece )
    {
        XMappedFileMemoryHandle copy( ioPiece.handle );
        Fill( copy, ioPiece.seed + 1 );
        EXPECT_TRUE( Holds( copy, ioPiece.seed + 1 ) );
    }

    std::array<Piece, kHandles> itsPieces;
};

} // namespace

TEST( XMemoryManagerStressTest, EveryByteIsTheOneLastWritten )
{
    TestManager manager( 20 * kLargest );
    Storm storm;
    std::atomic<bool> isOver = false;
    std::thread purger(
        [&]
        {
            while ( !isOver )
            {
                manager.FreeMemory( kLargest, XMemoryManager::kFreeWithoutLogEntry );
                std::this_thread::sleep_for( std::chrono::microseconds( 200 ) );
            }
        } );
    RunOnThreads( kThreads, [&]( unsigned inThread ) { storm.Work( inThread ); } );
    isOver = true;
    purger.join();
    storm.CheckAll();
    EXPECT_LE( manager.GetPeakBytesInUse(), 20 * kLargest );
    EXPECT_GT( manager.GetFigures().reloads, 0u );
}
