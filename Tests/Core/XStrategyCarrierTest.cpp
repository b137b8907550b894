#include "Core/Identifiers/XStrategyCarrier.h"

#include "Core/Identifiers/XIsStrategyIDEqual.h"
#include "Core/Identifiers/XIsStrategyNameEqual.h"
#include "Core/Identifiers/XIsStrategyTypeEqual.h"
#include "Testing.h"

namespace
{

struct XNamedStrategy : XStrategyAbstract
{
    XNamedStrategy( std::uint32_t inID, const char* inName ) : itsID( inID ), itsName( inName ) {}
    std::uint32_t GetStrategyID() const override { return itsID; }
    XString GetStrategyName() const override { return itsName; }

private:
    std::uint32_t itsID;
    XString itsName;
};

struct XSpecialStrategy : XNamedStrategy
{
    using XNamedStrategy::XNamedStrategy;
};

} // namespace

struct XStrategyCarrierTest : testing::Test
{
    XStrategyCarrierTest()
    {
        itsCarrier.AddStrategy( itsSpecial );
        itsCarrier.AddStrategy( itsFirst );
        itsCarrier.AddStrategy( itsSecond );
    }

    XRefPtr<XSpecialStrategy> itsSpecial = XMakeRef<XSpecialStrategy>( 7, "mean" );
    XRefPtr<XNamedStrategy> itsFirst = XMakeRef<XNamedStrategy>( 8, "median" );
    XRefPtr<XNamedStrategy> itsSecond = XMakeRef<XNamedStrategy>( 8, "Mean" );
    XStrategyCarrier itsCarrier;
};

TEST_F( XStrategyCarrierTest, FindsByTypeNumberAndName )
{
    EXPECT_TRUE( itsCarrier.FindStrategy<XSpecialStrategy>() == itsSpecial );
    EXPECT_TRUE( itsCarrier.FindStrategy<XNamedStrategy>() == itsFirst )
        << "the very class, not a derived one";
    EXPECT_TRUE( itsCarrier.FindStrategyByID( 7 ) == itsSpecial );
    EXPECT_TRUE( itsCarrier.FindStrategyByID( 8 ) == itsFirst ) << "the first that was added";
    EXPECT_TRUE( itsCarrier.FindStrategyByName( "Mean" ) == itsSecond );
    EXPECT_TRUE( itsCarrier.FindStrategyByType( typeid( XStrategyAbstract ) ) == nullptr );
    EXPECT_TRUE( itsCarrier.FindStrategyByID( 9 ) == nullptr );
    EXPECT_TRUE( itsCarrier.FindStrategyByName( "" ) == nullptr );
    const XRefPtr<XStrategyAbstract> none;
    EXPECT_FALSE( XIsStrategyTypeEqual( typeid( XNamedStrategy ) )( none ) );
    EXPECT_FALSE( XIsStrategyIDEqual( 7 )( none ) || XIsStrategyNameEqual( "mean" )( none ) );
}

TEST_F( XStrategyCarrierTest, SharesAndRemovesStrategies )
{
    XStrategyCarrier copy = itsCarrier;
    EXPECT_EQ( itsFirst->GetReferenceCount(), 3u );
    EXPECT_TRUE( itsCarrier.RemoveStrategy( *itsFirst ) );
    EXPECT_FALSE( itsCarrier.RemoveStrategy( *itsFirst ) );
    EXPECT_TRUE( itsCarrier.FindStrategyByID( 8 ) == itsSecond );
    EXPECT_TRUE( copy.FindStrategyByID( 8 ) == itsFirst );
    copy.RemoveAllStrategies();
    EXPECT_EQ( itsFirst->GetReferenceCount(), 1u );
    EXPECT_ERROR( 1006, copy.AddStrategy( nullptr ) );
}
