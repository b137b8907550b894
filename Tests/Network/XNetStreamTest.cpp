#include "Network/TestConnection.h"

#include "Network/XEncryptedNetStream.h"

namespace
{

using Algorithm = XEncryptedNetStream::XAlgorithm;

constexpr Algorithm kNone = XEncryptedNetStream::kAlgorithmNone;
constexpr Algorithm kTEA = XEncryptedNetStream::kAlgorithmTEA;
constexpr Algorithm kRC4 = XEncryptedNetStream::kAlgorithmRC4;
constexpr char kKey[] = "sixteen bytes ok";

struct Mode
{
    Algorithm algorithm;
    USize64 bufferSize;
    XByteOrder byteOrder;
};

struct TestStream : XEncryptedNetStream
{
    TestStream( XNetEndpoint& inEndpoint, const Mode& inMode, std::uint32_t inTimeoutMS = kPatience )
        : XEncryptedNetStream(
              inEndpoint, kKey, inMode.algorithm, inTimeoutMS, inTimeoutMS, inMode.bufferSize )
    {
        SetByteOrder( inMode.byteOrder );
    }
};

std::string ReceiveHex( XNetEndpoint& inEndpoint, std::uint32_t inCount )
{
    std::vector<std::uint8_t> bytes( inCount );
    inEndpoint.ReceiveData( bytes.data(), inCount, kPatience );
    std::string text;
    for ( const std::uint8_t byte : bytes )
        for ( const int half : { byte >> 4, byte & 15 } )
            text += "0123456789abcdef"[half];
    EXPECT_EQ( inEndpoint.GetWaitingBytes(), 0u );
    return text;
}

struct XNetStreamModesTest : testing::TestWithParam<Mode>
{
    TestConnection itsConnection;
    TestStream itsClient{ itsConnection.client, GetParam() };
    TestStream itsServer{ *itsConnection.server, GetParam() };
};

} // namespace

TEST_P( XNetStreamModesTest, CarriesValuesBothWays )
{
    std::vector<double> numbers( 300'001 );
    for ( std::size_t i = 0; i < numbers.size(); ++i )
        numbers[i] = static_cast<double>( i ) * 1.25;
    TestThread server(
        [&]
        {
            const XString text = itsServer.ReadString();
            const std::int64_t value = itsServer.Read64S();
            std::vector<double> received( numbers.size() );
            itsServer.ReadBufferFloat64( received.data(), received.size() );
            const std::unique_ptr<XStorable> object( itsServer.ReadObject() );
            const XNetAddress address = dynamic_cast<const XNetAddress&>( *object );
            itsServer.WriteString( text + address.GetDescription( false ) );
            itsServer.Write64S( value );
            itsServer.WriteBool( received == numbers );
            itsServer.Flush();
        } );
    server.StartThread();
    itsClient.WriteString( "greetings to " );
    itsClient.Write64S( -5 );
    itsClient.WriteBufferFloat64( numbers.data(), numbers.size() );
    itsClient.WriteObject( XNetAddress( 0x0A000005, 1 ) );
    EXPECT_EQ( itsClient.ReadString(), "greetings to 10.0.0.5" ); // which sends what is in the buffer
    EXPECT_EQ( itsClient.Read64S(), -5 );
    EXPECT_TRUE( itsClient.ReadBool() );
    EXPECT_EQ( itsClient.GetExtent(), -1 );
    EXPECT_EQ( server.Finish(), 0 );
}

/// What has arrived when a read runs out of time is there for the next one.
TEST_P( XNetStreamModesTest, LosesNothingToATimeout )
{
    std::uint8_t bytes[20] = {};
    itsClient.WriteBuffer8( "12345678", 8 );
    itsClient.Flush();
    itsServer.SetRecvTimeout( 20 );
    EXPECT_ERROR( 3105, itsServer.ReadBuffer8( bytes, 20 ) );
    EXPECT_EQ( itsServer.GetPosition(), 0 );
    itsServer.SetRecvTimeout( kPatience );
    itsServer.ReadBuffer8( bytes, 8 ); // of the size of the write, as TEA has it
    EXPECT_EQ( std::memcmp( bytes, "12345678", 8 ), 0 );
}

TEST_P( XNetStreamModesTest, PeeksWhatItReadsNext )
{
    if ( GetParam().algorithm == kRC4 )
        return; // whose peeks take the bytes
    itsClient.Write32( 0x01020304 );
    itsClient.Write8( 7 );
    itsClient.Flush();
    EXPECT_EQ( itsServer.Peek32(), 0x01020304u );
    EXPECT_EQ( itsServer.Peek16(), GetParam().byteOrder == kIntelOrder ? 0x0304 : 0x0102 );
    EXPECT_EQ( itsServer.Read32(), 0x01020304u );
    EXPECT_EQ( itsServer.Peek8(), 7 );
    EXPECT_EQ( itsServer.Read8(), 7 );
}

INSTANTIATE_TEST_SUITE_P(
    XNetStreamTest, XNetStreamModesTest,
    testing::Values(
        Mode{ kNone, 0, kIntelOrder }, Mode{ kNone, 4096, kMotorolaOrder }, Mode{ kTEA, 0, kIntelOrder },
        Mode{ kTEA, 0, kMotorolaOrder }, Mode{ kRC4, 0, kMotorolaOrder },
        Mode{ kRC4, 65536, kIntelOrder } ) );

/// The cipher texts were computed by another program.
TEST( XNetStreamTest, PutsTheseBytesOnTheWire )
{
    TestConnection connection;
    const auto send = [&]( const Mode& inMode, std::uint32_t inCount )
    {
        TestStream stream( connection.client, inMode );
        stream.Write32( 0x01020304 );
        stream.Write8( 9 );
        stream.Flush();
        return ReceiveHex( *connection.server, inCount );
    };
    EXPECT_EQ( send( { kNone, 0, kMotorolaOrder }, 5 ), "0102030409" );
    EXPECT_EQ( send( { kRC4, 16, kIntelOrder }, 5 ), "62c4dae294" );
    EXPECT_EQ( send( { kTEA, 0, kIntelOrder }, 16 ), "362013b8fae0558829e732f7ff16031a" );
    EXPECT_EQ( send( { kTEA, 0, kMotorolaOrder }, 16 ), "b81320368855e0fa230272f6b2fc3e24" );
}

/// 5 bytes are sent as 8, and a read of 5 takes them all.
TEST( XNetStreamTest, PadsEachWriteOfTEA )
{
    TestConnection connection;
    TestStream client( connection.client, { kTEA, 0, kIntelOrder } );
    TestStream server( *connection.server, { kTEA, 0, kIntelOrder } );
    client.WriteBuffer8( "12345", 5 );
    client.WriteText( "" );
    client.WriteBuffer8( "abcdefgh", 8 );
    char bytes[8];
    server.ReadBuffer8( bytes, 5 );
    EXPECT_EQ( std::string( bytes, 5 ), "12345" );
    EXPECT_EQ( connection.server->GetTotalBytesRead(), 8u );
    server.ReadBuffer8( bytes, 8 );
    EXPECT_EQ( std::string( bytes, 8 ), "abcdefgh" );
    EXPECT_ERROR( 1006, TestStream( connection.client, { kTEA, 1, kIntelOrder } ) );
    EXPECT_ERROR( 1013, TestStream( connection.client, { Algorithm( 3 ), 0, kIntelOrder } ) );
}

/// The key stream of the sender has gone on by what nobody knows, so nothing that follows could be read.
TEST( XNetStreamTest, SendsNothingAfterAFailedSend )
{
    for ( const Algorithm algorithm : { kNone, kRC4 } )
    {
        TestConnection connection;
        TestStream client( connection.client, { algorithm, 0, kIntelOrder }, 0 );
        const std::vector<char> block( 1'000'000 );
        const auto fillUp = [&]
        {
            for ( ;; )
                client.WriteBuffer8( block.data(), block.size() );
        };
        EXPECT_EQ( ErrorOf( fillUp ), 3105u );
        connection.server->ForceDisconnect();
        client.SetSendTimeout( kPatience );
        EXPECT_ERROR( 3100, client.Write8( 1 ) );
    }
}

TEST( XNetStreamTest, HasNoOtherPositions )
{
    TestConnection connection;
    XNetStream stream( connection.client, 0, 0, 100 );
    stream.Write32( 1 );
    stream.SeekTo( 4 );
    EXPECT_ERROR( 1013, stream.SeekTo( 0 ) );
    EXPECT_ERROR( 1013, stream.SetExtent( 4 ) );
    EXPECT_FALSE( stream.IsAtEOF() );
}
