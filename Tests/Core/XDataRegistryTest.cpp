#include "Core/Identifiers/XDataRegistry.h"

#include "Testing.h"

namespace
{

/// Uses the registry that it leaves.
struct XFarewell : XRefCountable
{
    explicit XFarewell( XDataRegistry& inRegistry ) : itsRegistry( inRegistry ) {}
    ~XFarewell() override { itsRegistry.SetValue( "farewell", true ); }

private:
    XDataRegistry& itsRegistry;
};

} // namespace

TEST( XDataRegistryTest, KeepsValuesUnderTheirKeys )
{
    XDataRegistry registry;
    registry.SetValue( "size", 0.65 );
    registry.SetValue( "Size", XString( "large" ) );
    EXPECT_EQ( registry.FindValue<double>( "size" ), 0.65 );
    EXPECT_EQ( registry.FindValue<XString>( "Size" ), XString( "large" ) );
    EXPECT_EQ( registry.FindValue<int>( "size" ), std::nullopt ) << "another type";
    EXPECT_EQ( registry.FindValue<double>( "si ze" ), std::nullopt )
        << "keys are bytes, not numbers or words";
    registry.SetValue( "size", 7 );
    EXPECT_EQ( registry.FindValue<int>( "size" ), 7 );
    EXPECT_EQ( registry.GetKeys(), ( XVector<XString>{ "Size", "size" } ) );
    EXPECT_TRUE( registry.Remove( "Size" ) );
    EXPECT_FALSE( registry.Remove( "Size" ) );
    registry.RemoveAll();
    EXPECT_TRUE( registry.GetKeys().empty() );
}

TEST( XDataRegistryTest, SharesObjectsAndLetsGoOutsideItsLock )
{
    XDataRegistry registry;
    const auto data = XMakeRef<XFarewell>( registry );
    registry.SetData( "data", data );
    EXPECT_TRUE( registry.FindDataOf<XFarewell>( "data" ) == data );
    EXPECT_EQ( data->GetReferenceCount(), 2u );
    EXPECT_ERROR( 1006, registry.SetData( "data", nullptr ) );

    const auto leave = [&]( auto inAction )
    {
        registry.SetData( "data", XMakeRef<XFarewell>( registry ) );
        registry.Remove( "farewell" );
        inAction();
        return registry.FindValue<bool>( "farewell" ) == true;
    };
    EXPECT_TRUE( leave( [&] { registry.SetValue( "data", 1 ); } ) );
    EXPECT_TRUE( leave( [&] { registry.Remove( "data" ); } ) );
    EXPECT_TRUE( leave( [&] { registry.RemoveAll(); } ) );
}

TEST( XDataRegistryTest, ServesSeveralThreads )
{
    XDataRegistry& registry = XDataRegistry::GetProcessRegistry();
    RunOnThreads(
        4,
        [&]( unsigned inThread )
        {
            for ( int i = 0; i < 2000; ++i )
            {
                registry.SetValue( "shared", inThread );
                registry.FindValue<unsigned>( "shared" );
                registry.Remove( "shared" );
            }
        } );
    EXPECT_TRUE( registry.GetKeys().empty() );
}
