#include "Memory/Linux/WViewGuard.h"

#include "Files/WFile.h"
#include "TestFolder.h"

#include <sys/mman.h>

namespace
{
constexpr std::size_t kPage = 4096;
constexpr std::size_t kPages = 40'000;
} // namespace

// A guard that changes from a range below the view to one above it must not be taken for one that covers both.
TEST( WViewGuardTest, HealsOnlyTheViewThatIsTouched )
{
    const TestFolder folder;
    const WFile file( folder / "empty", WFile::kCreate );
    void* const room =
        ::mmap( nullptr, ( kPages + 2 ) * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0 );
    ASSERT_NE( MAP_FAILED, room );
    auto* const below = static_cast<std::uint8_t*>( room );
    auto* const view = below + kPage;
    auto* const above = view + kPages * kPage;
    ASSERT_EQ(
        view,
        ::mmap(
            view, kPages * kPage, PROT_READ, MAP_SHARED | MAP_FIXED, static_cast<int>( file.GetRawHandle() ),
            0 ) );
    WViewGuard* const guard = WViewGuard::Add( view, kPages * kPage );
    std::atomic<bool> isOver = false;
    std::atomic<bool> isWrong = false;
    std::thread changer(
        [&]
        {
            while ( !isOver )
                for ( const std::uint8_t* range : { below, above } )
                {
                    WViewGuard* const other = WViewGuard::Add( range, kPage );
                    WViewGuard::Remove( other );
                    if ( !other->IsIntact() )
                        isWrong = true;
                }
        } );
    EXPECT_TRUE( guard->IsIntact() );
    int sum = 0;
    for ( std::size_t i = 0; i < kPages && !isWrong; ++i )
        sum += static_cast<const volatile std::uint8_t*>( view )[i * kPage];
    isOver = true;
    changer.join();
    EXPECT_EQ( 0, sum );
    EXPECT_FALSE( isWrong );
    EXPECT_FALSE( guard->IsIntact() );
    WViewGuard::Remove( guard );
    ::munmap( room, ( kPages + 2 ) * kPage );
}
