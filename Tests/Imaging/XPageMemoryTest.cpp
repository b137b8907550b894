#include "Imaging/Pages/XPageMemory.h"
#include "Memory/XMemoryManager.h"
#include "Testing.h"

namespace
{
constexpr std::uint64_t kUnit = 1024 * 1024;
constexpr std::uint64_t kBudget = 64 * kUnit;

struct XPageMemoryTest : testing::Test
{
    XPageMemoryTest() { GetManager().SetBudget( itsBefore + kBudget ); }
    ~XPageMemoryTest() override { GetManager().SetBudget( itsBudgetBefore ); }

    static XMemoryManager& GetManager() { return *XMemoryManager::GetManager(); }
    USize64 GetUsed() const { return GetManager().GetBytesInUse() - itsBefore; }

private:
    const USize64 itsBudgetBefore = GetManager().GetBudget();
    const USize64 itsBefore = GetManager().GetBytesInUse();
};

TEST_F( XPageMemoryTest, KeepsBuffersForPagesOfTheSameSize )
{
    {
        XPageMemory memory;
        const auto* const first = memory.Allocate( kUnit ).get();
        EXPECT_GE( GetUsed(), kUnit ); // kept, and counted
        const auto again = memory.Allocate( kUnit );
        EXPECT_EQ( again.get(), first );
        EXPECT_LT( GetUsed(), 2 * kUnit );
        const auto beside = memory.Allocate( kUnit );
        EXPECT_NE( beside.get(), first );
        EXPECT_NE( memory.Allocate( kUnit + 1 ).get(), first );
    }
    EXPECT_EQ( GetUsed(), 0u );
}

TEST_F( XPageMemoryTest, KeepsNoMoreThanAPartOfTheBudget )
{
    XPageMemory memory;
    std::vector<WImagePage::Samples> pages;
    for ( int page = 0; page < 20; ++page )
        pages.push_back( memory.Allocate( kUnit ) );
    pages.clear();
    EXPECT_GE( GetUsed(), 2 * kUnit );
    EXPECT_LE( GetUsed(), kBudget / 16 );
    memory.Allocate( kBudget / 8 );
    EXPECT_LE( GetUsed(), kBudget / 16 );

    // Who needs the whole budget gets it.
    {
        const XMemoryHandle all( kBudget );
    }
    EXPECT_EQ( GetUsed(), 0u );
    memory.Allocate( kUnit );
    memory.Allocate( kBudget );
}
} // namespace
