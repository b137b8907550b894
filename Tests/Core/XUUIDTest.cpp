#include "Core/Identifiers/XUUID.h"

#include "Core/Streams/XMemStream.h"
#include "Core/Strings/XString.h"
#include "Testing.h"

namespace
{

constexpr std::uint8_t kSampleBytes[16] = { 0xf8, 0x1d, 0x4f, 0xae, 0x7d, 0xec, 0x11, 0xd0,
                                            0xa7, 0x65, 0x00, 0xa0, 0xc9, 0x1e, 0x6b, 0xf6 };
const char* const kSampleText = "f81d4fae-7dec-11d0-a765-00a0c91e6bf6";

static_assert( sizeof( XUUID ) == 16 && std::is_trivially_copyable_v<XUUID> );

XUUID MakeRandomID( std::mt19937& ioRandom )
{
    std::uint8_t bytes[16];
    for ( std::uint8_t& byte : bytes )
        byte = static_cast<std::uint8_t>( ioRandom() );
    return XUUID( bytes );
}

} // namespace

TEST( XUUIDTest, WritesBytesInStoredOrder )
{
    const XUUID id( kSampleBytes );
    EXPECT_EQ( std::string( id.UUIDToString() ), kSampleText );
    EXPECT_EQ( std::string( id.UUIDToTerseString() ), "-B1Prn3sEdCnZQCgyR5r9g" );
    EXPECT_EQ( std::memcmp( id.GetBytes(), kSampleBytes, 16 ), 0 );
}

TEST( XUUIDTest, ReadsEveryTextForm )
{
    const XUUID id( kSampleBytes );
    for ( const char* text :
          { kSampleText, "F81D4FAE-7DEC-11D0-A765-00A0C91E6BF6", "{f81d4fae-7dec-11d0-a765-00A0C91E6BF6}",
            "urn:uuid:f81d4fae-7dec-11d0-a765-00a0c91e6bf6", "URN:UUID:F81d4fae-7dec-11d0-a765-00a0c91e6bf6",
            "-B1Prn3sEdCnZQCgyR5r9g" } )
        EXPECT_EQ( XUUID( XString( text ) ), id ) << text;

    std::mt19937 random( 4122 );
    for ( int i = 0; i < 1000; ++i )
    {
        const XUUID other = MakeRandomID( random );
        ASSERT_EQ( XUUID( other.UUIDToString() ), other );
        ASSERT_EQ( XUUID( other.UUIDToTerseString() ), other );
    }
}

TEST( XUUIDTest, RefusesOtherTexts )
{
    XUUID id( kSampleBytes );
    for ( const char* text :
          { "", "f81d4fae", "f81d4fae7dec11d0a76500a0c91e6bf6", "f81d4fae-7dec-11d0-a765-00a0c91e6bf",
            "f81d4fae-7dec-11d0-a765-00a0c91e6bf6 ", "f81d4fae-7dec-11d0-a765-00a0c91e6bg6",
            "f81d4fae-7dec-11d0-a76500a0-c91e6bf6", "f81d4fae-7dec-11d0-a765+00a0c91e6bf6",
            "{f81d4fae-7dec-11d0-a765-00a0c91e6bf6)", "(f81d4fae-7dec-11d0-a765-00a0c91e6bf6)",
            "urn:guid:f81d4fae-7dec-11d0-a765-00a0c91e6bf6", "-B1Prn3sEdCnZQCgyR5r9h",
            "-B1Prn3sEdCnZQCgyR5r9+", "-B1Prn3sEdCnZQCgyR5r\xe4\xf6" } )
        EXPECT_ERROR( 1026, id.StringToUUID( text ) ) << text;
    EXPECT_EQ( id, XUUID( kSampleBytes ) ) << "unchanged after errors";
}

TEST( XUUIDTest, ComparesBytesAsUnsignedNumbers )
{
    for ( std::size_t i = 0; i < 16; ++i )
    {
        std::uint8_t low[16], high[16];
        std::fill( low, low + 16, 0xFF );
        std::fill( high, high + 16, 0x00 );
        std::fill( low, low + i, 0x55 );
        std::fill( high, high + i, 0x55 );
        low[i] = 0x7F;
        high[i] = 0x80;
        EXPECT_EQ( XUUID( low ).Compare( XUUID( high ) ), -1 ) << i;
        EXPECT_EQ( XUUID( high ).Compare( XUUID( low ) ), 1 ) << i;
        EXPECT_TRUE(
            XUUID( low ) < XUUID( high ) && XUUID( high ) > XUUID( low ) && XUUID( low ) != XUUID( high ) );
    }
    EXPECT_EQ( XUUID( kSampleBytes ).Compare( XUUID( kSampleBytes ) ), 0 );
}

TEST( XUUIDTest, HashesInThirtyTwoBits )
{
    EXPECT_EQ( XUUID::kNilID.GetHash(), 0u );
    std::uint8_t bytes[16] = {};
    bytes[15] = 0xFF;
    EXPECT_EQ( XUUID( bytes ).GetHash(), 0xFFu );
    bytes[14] = 0x12;
    EXPECT_EQ( XUUID( bytes ).GetHash(), 0x21Fu );
    EXPECT_EQ( XUUID( kSampleBytes ).GetHash(), 0x31EFDD6u );
}

TEST( XUUIDTest, GeneratesRandomIdentifiersOfVersionFour )
{
    std::set<XUUID> ids;
    std::uint8_t seen[16] = {};
    for ( int i = 0; i < 5000; ++i )
    {
        XUUID id;
        id.GenerateNewID();
        const std::uint8_t* bytes = id.GetBytes();
        ASSERT_EQ( bytes[6] >> 4, 4 ) << "version";
        ASSERT_EQ( bytes[8] >> 6, 2 ) << "variant";
        for ( std::size_t k = 0; k < 16; ++k )
            seen[k] = static_cast<std::uint8_t>( seen[k] | bytes[k] );
        ASSERT_TRUE( ids.insert( id ).second );
    }
    for ( std::size_t k = 0; k < 16; ++k )
        EXPECT_EQ( seen[k], k == 6 ? 0x4F : k == 8 ? 0xBF : 0xFF ) << k;
}

TEST( XUUIDTest, GeneratesDifferentIdentifiersOnEveryThread )
{
    XVector<XUUID> ids( 400 );
    RunOnThreads(
        4,
        [&]( unsigned inThread )
        {
            for ( std::size_t i = inThread * 100; i < ( inThread + 1 ) * 100; ++i )
                ids[i].GenerateNewID();
        } );
    EXPECT_EQ( std::set<XUUID>( ids.begin(), ids.end() ).size(), ids.size() );
}

TEST( XUUIDTest, IsNeverSwappedInAStream )
{
    for ( const XByteOrder order : { kIntelOrder, kMotorolaOrder } )
    {
        XMemStream stream;
        stream.SetByteOrder( order );
        XUUID( kSampleBytes ).WriteStream2( stream );
        ASSERT_EQ( stream.GetLength(), 16u );
        EXPECT_EQ( std::memcmp( stream.GetData(), kSampleBytes, 16 ), 0 );
        stream.SeekTo( 0 );
        XUUID copy;
        copy.ReadStream2( stream );
        EXPECT_EQ( copy, XUUID( kSampleBytes ) );
    }
}
