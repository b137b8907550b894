#include "Network/XNetAddress.h"
#include "Core/Streams/XMemStream.h"
#include "Network/Internal/XHostNameCache.h"
#include "Testing.h"

namespace
{

constexpr std::uint32_t kLoopBack = 0x7F000001;
const char* const kUnknownHost = "no-such-host.invalid";

std::string Describe( const XNetAddress& inAddress )
{
    return inAddress.GetDescription( false ).GetConstCharPtr();
}

} // namespace

TEST( XNetAddressTest, DescribesItself )
{
    XNetAddress address( 0x0A000005, 80 );
    EXPECT_EQ( Describe( address ), "10.0.0.5" );
    address.SetHostName( "server1" );
    EXPECT_EQ( Describe( address ), "server1 (10.0.0.5)" );
    EXPECT_EQ( Describe( XNetAddress( "server1", 80 ) ), "server1 (0.0.0.0)" );
    EXPECT_EQ( Describe( XNetAddress( 0xFFFFFFFF, 80 ) ), "255.255.255.255" );
    EXPECT_EQ( Describe( XNetAddress::GetLoopBackAddress( 1 ) ), "127.0.0.1" );
}

TEST( XNetAddressTest, LooksUpWhenAsked )
{
    const XNetAddress local( "localhost", 80 );
    EXPECT_EQ( local.GetIPAddress( false ), 0u );
    EXPECT_EQ( local.GetIPAddress( true ), kLoopBack );
    EXPECT_EQ( local.GetIPAddress( false ), kLoopBack );
    EXPECT_EQ( XNetAddress( XString( std::string( "localhost\0x", 11 ) ), 80 ).GetIPAddress( true ), 0u );
    XNetAddress unknown( kUnknownHost, 80 );
    EXPECT_EQ( unknown.GetIPAddress( true ), 0u );
    EXPECT_THROW( unknown.LookupIPAddress(), XException );
    EXPECT_ERROR( 11001, XNetAddress().LookupHostNameFromAddress() );
}

/// A host that has no name is asked once, and one that another address has asked for not again.
TEST( XNetAddressTest, AsksOnceForTheNameOfAnAddress )
{
    constexpr std::uint32_t kAddress = 0x7F0A0B0C;
    XHostNameCache::GetInstance().Insert( kAddress, "told-before" );
    XNetAddress address( kAddress, 1 );
    EXPECT_EQ( address.GetHostName( false ), "" );
    EXPECT_EQ( address.GetHostName( true ), "told-before" );

    XHostNameCache::GetInstance().Insert( kAddress + 1, "" );
    const XNetAddress nameless( kAddress + 1, 1 );
    EXPECT_EQ( nameless.GetHostName( true ), "" );
    XHostNameCache::GetInstance().Insert( kAddress + 1, "too late" );
    EXPECT_EQ( nameless.GetHostName( true ), "" );
}

TEST( XNetAddressTest, TheNameCacheDropsItsOldest )
{
    XHostNameCache cache;
    const auto most = static_cast<std::uint32_t>( XHostNameCache::kMostEntries );
    for ( std::uint32_t address = 0; address < most; ++address )
        cache.Insert( address, XString( address ) );
    cache.Insert( 0, "again" ); // which makes it no younger
    cache.Insert( most, "new" );
    XString name;
    EXPECT_FALSE( cache.Find( 0, name ) );
    EXPECT_TRUE( cache.Find( 1, name ) );
    EXPECT_TRUE( cache.Find( most, name ) );
    EXPECT_EQ( name, "new" );
}

TEST( XNetAddressTest, KnowsThisMachine )
{
    const XNetAddress local = XNetAddress::GetLocalAddress( 77 );
    EXPECT_EQ( local.GetPort(), 77 );
    EXPECT_EQ( local.GetHostName( false ), XNetAddress::GetLocalHostName() );
}

TEST( XNetAddressTest, ComparesByAddressOrByName )
{
    EXPECT_EQ( XNetAddress( kLoopBack, 1 ), XNetAddress( "localhost", 2 ) );
    EXPECT_NE( XNetAddress( kLoopBack, 1 ), XNetAddress( kUnknownHost, 1 ) );
    EXPECT_NE( XNetAddress( kUnknownHost, 1 ), XNetAddress( kLoopBack, 1 ) );
    EXPECT_EQ( XNetAddress( "A.invalid", 1 ), XNetAddress( "a.INVALID", 2 ) );
    EXPECT_NE( XNetAddress( "a.invalid", 1 ), XNetAddress( "b.invalid", 1 ) );
    EXPECT_FALSE( XNetAddress( 1, 1 ) < XNetAddress( 2, 1 ) || XNetAddress( 1, 1 ) > XNetAddress( 2, 1 ) );
}

/// The bytes by hand: version 538, address 10.0.0.5, two adapters, "ab", port 258.
TEST( XNetAddressTest, IsStored )
{
    const std::uint8_t stored[] = { 0x00, 0x00, 0x02, 0x1A, 0x00, 0x00, 0x02, 0x1A, 0x0A, 0x00, 0x00, 0x05,
                                    0x00, 0x00, 0x00, 0x02, 0x0A, 0x00, 0x00, 0x05, 0xC0, 0xA8, 0x00, 0x01,
                                    0x00, 0x00, 0x00, 0x02, 'a',  'b',  0x00, 0x00, 0x01, 0x02 };
    XMemStream stream( stored, sizeof stored );
    stream.SetByteOrder( kMotorolaOrder );
    const std::unique_ptr<XStorable> object( stream.ReadObject() );
    const auto& address = dynamic_cast<const XNetAddress&>( *object );
    EXPECT_EQ( Describe( address ), "ab (10.0.0.5)" );
    EXPECT_EQ( address.GetPort(), 258 );
    EXPECT_EQ( address.GetLocalIPNetAdapters(), ( XVector<std::uint32_t>{ 0x0A000005, 0xC0A80001 } ) );
    XMemStream again;
    again.SetByteOrder( kMotorolaOrder );
    const std::unique_ptr<XNetAddress> clone( address.Clone() );
    again.WriteObject( *clone );
    ASSERT_EQ( again.GetLength(), sizeof stored );
    EXPECT_EQ( std::memcmp( again.GetData(), stored, sizeof stored ), 0 );
    EXPECT_EQ( clone->GetStreamUsage(), sizeof stored - 4 );
}
