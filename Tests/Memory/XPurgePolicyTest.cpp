#include "Memory/TestManager.h"
#include "Memory/XMemoryBlock.h"

namespace
{

/// A block that lies where the test wants it.
struct PlacedBlock : XMemoryBlock
{
    PlacedBlock( Range inRange, std::vector<PlacedBlock*>& outPurged )
        : itsRange( inRange ), itsPurged( outPurged )
    {
        SetFlags( kInMemory | kPurgeable );
        GetManager().AddBlock( this );
    }
    ~PlacedBlock() override { GetManager().RemoveBlock( this ); }

    bool refuses = false;

    void* GetData() override { return nullptr; }
    USize64 GetSize() const override { return itsRange.size; }
    void Resize( USize64 ) override {}
    bool IsEmpty() const override { return false; }
    void DestroySelf() override {}
    USize64 GetPaddedSize() const override { return itsRange.size; }
    std::uint64_t GetTrueAddress() const override { return itsRange.begin; }
    USize64 GetTrueSize() const override { return itsRange.size; }
    void Purge() override
    {
        if ( refuses || !CanPurge() )
            XThrow( 1023 );
        itsPurged.push_back( this );
        GetManager().RemoveBlock( this );
    }

protected:
    XMemoryBlock* MakeSimilar( USize64 ) const override { return nullptr; }

private:
    Range itsRange;
    std::vector<PlacedBlock*>& itsPurged;
};

/// Blocks in the order in which they were locked, as letter:begin+size in MiB: capitals for locked ones, an exclamation mark
/// behind those that refuse, '#' for what else is in use.
struct Case
{
    const char* name;
    std::string layout;
    std::uint64_t wanted;
    std::string purged; ///< the letters of the purged blocks in order
};

const Case kCases[] = {
    { "oldest that is large enough", "a:10+2 b:20+8 c:40+9 #:0+256", 8, "b" },
    { "the oldest beside a hole before a newer one that is large", "a:10+1 b:40+8 #:0+8 #:14+242", 6, "a" },
    { "free space after is enough", "a:10+1 #:0+10 #:15+241", 5, "a" },
    { "free space before is enough", "a:10+1 #:0+6 #:11+245", 5, "a" },
    { "one short on both sides", "a:10+1 #:0+8 #:13+243", 6, "" },
    { "older ones that open no hole stay", "a:10+1 b:20+1 c:30+5 #:0+256", 4, "c" },
    { "neighbours make a run", "a:12+2 b:10+2 c:14+2 #:0+10 #:16+240", 6, "bac" },
    { "a run ends as soon as it suffices", "a:10+2 b:12+2 c:14+2 d:16+2 #:0+256", 4, "ab" },
    { "free space at both ends of a run", "a:10+2 b:12+2 #:0+9 #:15+241", 6, "ab" },
    { "a wall parts two runs", "a:10+2 b:12+2 c:15+3 d:18+3 #:0+256", 6, "cd" },
    { "a gap parts two runs", "a:10+2 b:13+2 #:0+10 #:15+241", 6, "" },
    { "locked blocks are not purged", "A:10+8 b:30+8 #:0+256", 8, "b" },
    { "a locked block parts two runs", "a:10+2 B:12+2 c:14+2 #:0+256", 6, "" },
    { "the next one when one refuses", "a!:10+8 b:30+8 #:0+256", 8, "b" },
    { "a run goes on when one refuses", "a:10+2 b!:12+2 c:14+2 #:0+256", 6, "ac" },
    { "nothing there", "", 1, "" },
};

/// Blocks as a case describes them, locked in order.
struct LaidOut
{
    LaidOut( TestManager& ioManager, const Case& inCase )
    {
        std::vector<Range> used;
        for ( const std::string& item : Split( inCase.layout, ' ' ) )
        {
            unsigned begin = 0, size = 0;
            const std::size_t colon = item.find( ':' );
            if ( colon == std::string::npos ||
                 std::sscanf( item.c_str() + colon, ":%u+%u", &begin, &size ) != 2 )
                continue;
            const Range range{ begin * kMiB, size * kMiB };
            const bool isWall = item[0] == '#';
            used.insert( isWall ? used.begin() : used.end(), range );
            if ( isWall )
                continue;
            blocks.push_back( std::make_unique<PlacedBlock>( range, purged ) );
            blocks.back()->refuses = item[1] == '!';
            auto lock = std::make_unique<XLock>( blocks.back().get(), kLockForRead );
            if ( item[0] < 'a' )
                locks.push_back( std::move( lock ) );
        }
        ioManager.LayOut( used );
    }

    std::string GetPurged() const
    {
        std::string text;
        for ( const PlacedBlock* block : purged )
        {
            const auto found =
                std::ranges::find_if( blocks, [&]( const auto& inBlock ) { return inBlock.get() == block; } );
            text += static_cast<char>( 'a' + ( found - blocks.begin() ) );
        }
        return text;
    }

    std::vector<PlacedBlock*> purged;
    std::vector<std::unique_ptr<PlacedBlock>> blocks;
    std::vector<std::unique_ptr<XLock>> locks;
};

} // namespace

TEST( XPurgePolicyTest, PurgesWhatOpensAHole )
{
    for ( const Case& testCase : kCases )
    {
        SCOPED_TRACE( testCase.name );
        TestManager manager;
        const LaidOut laidOut( manager, testCase );
        const USize64 freed =
            manager.FreeMemory( testCase.wanted * kMiB, XMemoryManager::kFreeWithoutLogEntry );
        EXPECT_EQ( testCase.purged, laidOut.GetPurged() );
        USize64 purgedBytes = 0;
        for ( const PlacedBlock* block : laidOut.purged )
            purgedBytes += block->GetSize();
        EXPECT_EQ( purgedBytes, freed );
        EXPECT_EQ( laidOut.purged.size(), manager.GetPurgeCount() );
        EXPECT_EQ( 1u, manager.GetFreeCount() );
    }
}

TEST( XPurgePolicyTest, FreesByAddress )
{
    const Case layout = { "", "a:10+2 b:20+2 c:30+2", 0, "" };
    const auto purgedBy = [&]( std::uint64_t inAddress, std::uint32_t inFlags )
    {
        TestManager manager;
        const LaidOut laidOut( manager, layout );
        manager.FreeMemory( inAddress * kMiB, inFlags | XMemoryManager::kFreeWithoutLogEntry );
        EXPECT_EQ( 0u, manager.GetFreeCount() );
        std::string purged = laidOut.GetPurged();
        std::ranges::sort( purged );
        return purged;
    };
    EXPECT_EQ( "ab", purgedBy( 21, XMemoryManager::kFreeBelowAddress ) );
    EXPECT_EQ( "bc", purgedBy( 21, XMemoryManager::kFreeAboveAddress ) );
    EXPECT_EQ( "c", purgedBy( 22, XMemoryManager::kFreeAboveAddress ) );
    EXPECT_EQ( "abc", purgedBy( 20, XMemoryManager::kFreeBelowAddress | XMemoryManager::kFreeAboveAddress ) );
}

TEST( XPurgePolicyTest, MeasuresFreeSpaceInWholeUnits )
{
    TestManager manager;
    const std::uint64_t unit = XMemoryManager::GetAllocationGranularity();
    manager.LayOut( { { 0, unit }, { 5 * unit - 1, unit }, { 10 * unit, 1 } } );
    EXPECT_EQ( 3 * unit, manager.GetFreeSpaceAfterAddr( unit ) );
    EXPECT_EQ( 3 * unit, manager.GetFreeSpaceBeforeAddr( 5 * unit - 1 ) );
    EXPECT_EQ( 0u, manager.GetFreeSpaceAfterAddr( 0 ) );
    EXPECT_EQ( 0u, manager.GetFreeSpaceBeforeAddr( 0 ) );
    EXPECT_EQ( 0u, manager.GetFreeSpaceAfterAddr( TestManager::kEnd ) );
    EXPECT_EQ( 2 * unit + 1, manager.GetAddressSpaceInUse() );
}
