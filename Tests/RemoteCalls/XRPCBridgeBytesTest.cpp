#include "RemoteCalls/TestBridge.h"

#include <vector>

// Conversations as docs/formats.md shows them, with the sentinel 1001 and the challenge 3. Their bytes were made by a program
// that knows nothing of the library.

namespace
{

using Bytes = std::vector<std::uint8_t>;

/// What the client sends at a time, and what the server answers.
struct Exchange
{
    const char* sent;
    const char* returned;
};

struct Conversation
{
    XEncryptedNetStream::XAlgorithm algorithm;
    XByteOrder order;
    std::vector<Exchange> exchanges; // the opening, Divide( 3, 4 ), Note_NoWaitForReturn( 7 ), Fail( 1023 )
};

const std::vector<Conversation> kConversations = {
    { XEncryptedNetStream::kAlgorithmNone,
      kIntelOrder,
      {
          { "000003e8000003e800000000", "00000000000003e9" },
          { "000003e9000005dd00000003", "0000000000000004" },
          { "000003ea00000000", "0000000000000000" },
          { "d007000000000000000008400000000000001040", "00000000000000000000e83f" },
          { "d107008007000000", "" },
          { "da070000ff030000", "ff030000" },
      } },
    { XEncryptedNetStream::kAlgorithmNone,
      kMotorolaOrder,
      {
          { "000003e8000003e800000000", "00000000000003e9" },
          { "000003e9000005dd00000003", "0000000000000004" },
          { "000003ea00000000", "0000000000000000" },
          { "ea03000001000000", "0000000001000000" },
          { "000007d040080000000000004010000000000000", "000000003fe8000000000000" },
          { "800007d100000007", "" },
          { "000007da000003ff", "000003ff" },
      } },
    { XEncryptedNetStream::kAlgorithmRC4,
      kIntelOrder,
      {
          { "66c7db0b9d77a9d79bdec79c", "66c7d8e39d77a9d6" },
          { "bab2e2123abcaae724ebfcf7", "9bdec79cbab2e1ff" },
          { "732fcf9a19077d24", "3abcaf3a24ebfcf4" },
          { "f455eb2f1907a8cff7c31840fa75329fec55b9c5", "732fcc7019077d2424520310" },
          { "52de6b7d4d9c251b", "" },
          { "5256feb1c4110db0", "e604a8cf" },
      } },
    { XEncryptedNetStream::kAlgorithmRC4,
      kMotorolaOrder,
      {
          { "66c7db0b9d77a9d79bdec79c", "66c7d8e39d77a9d6" },
          { "bab2e2123abcaae724ebfcf7", "9bdec79cbab2e1ff" },
          { "732fcf9a19077d24", "3abcaf3a24ebfcf4" },
          { "ce51eb2f1807a8cf", "732fcc7018077d24" },
          { "f7c317d0ba7d329fec55a985c3c96bfd4a9c251b", "2452eb2f26efa8cff7c31000" },
          { "0851f9603b120db7", "" },
          { "c0650d3aac766383", "fa753160" },
      } },
    { XEncryptedNetStream::kAlgorithmTEA,
      kIntelOrder,
      {
          { "5572578eb53705b05572578eb53705b0d279579b7dfda066", "d279579b7dfda0668c965952c62ac46c" },
          { "8c965952c62ac46cde928c7b64436d24708552473b90fed1", "d279579b7dfda0660281316a18bc83ae" },
          { "e0a19dc24e1689abd279579b7dfda066", "d279579b7dfda066d279579b7dfda066" },
          { "eebe507a93ec1b457103aab2fae726a29fd1c04ac2929357", "9b5779d266a0fd7db8feca1ea765c447" },
          { "0b41c85fcfc2e6e0e68ed6dc2f1c6caf", "" },
          { "4f1ba580dcf5bfea0598d4be081ba356", "0598d4be081ba356" },
      } },
    { XEncryptedNetStream::kAlgorithmTEA,
      kMotorolaOrder,
      {
          { "5572578eb53705b05572578eb53705b0d279579b7dfda066", "d279579b7dfda0668c965952c62ac46c" },
          { "8c965952c62ac46cde928c7b64436d24708552473b90fed1", "d279579b7dfda0660281316a18bc83ae" },
          { "e0a19dc24e1689abd279579b7dfda066", "d279579b7dfda066d279579b7dfda066" },
          { "c29da1e0ab89164e6f521352070fc427", "9b5779d266a0fd7d6f521352070fc427" },
          { "7a50beee451bec930bc281bd156c49ee52ad7563b49cb5c9", "d279579b7dfda06668b657b29ef1c11d" },
          { "5fc8410be0e6c2cfdcd68ee6af6c1c2f", "" },
          { "80a51b4feabff5dcbed4980556a31b08", "bed4980556a31b08" },
      } },
};

constexpr char kPreamble[] = "00039ca4";

Bytes ToBytes( const std::string& inHex )
{
    Bytes bytes;
    for ( std::size_t i = 0; i < inHex.size(); i += 2 )
        bytes.push_back( static_cast<std::uint8_t>( std::stoul( inHex.substr( i, 2 ), nullptr, 16 ) ) );
    return bytes;
}

void Send( XNetEndpoint& ioEndpoint, const std::string& inHex )
{
    const Bytes bytes = ToBytes( inHex );
    if ( !bytes.empty() )
        ioEndpoint.SendData( bytes.data(), static_cast<std::uint32_t>( bytes.size() ), kPatience );
}

void ExpectBytes( XNetEndpoint& ioEndpoint, const std::string& inHex )
{
    const Bytes expected = ToBytes( inHex );
    Bytes bytes( expected.size() );
    if ( !bytes.empty() )
        ioEndpoint.ReceiveData( bytes.data(), static_cast<std::uint32_t>( bytes.size() ), kPatience );
    EXPECT_EQ( bytes, expected ) << inHex;
}

class PredictableServer : public TestServerBridge
{
public:
    using TestServerBridge::TestServerBridge;

private:
    std::uint32_t DrawRandomNumber() override { return 1001; }
};

class PredictableClient : public TestBridge
{
public:
    using TestBridge::TestBridge;
    bool HasBytesToRead() const { return itsSenderStream->HasBytesToRead(); }

private:
    std::uint32_t DrawRandomNumber() override { return 3; }
};

std::string NameOf( const Conversation& inConversation )
{
    return std::to_string( inConversation.algorithm ) + ", " + std::to_string( inConversation.order );
}

} // namespace

TEST( XRPCBridgeBytesTest, ServersAnswerByteForByte )
{
    for ( const Conversation& conversation : kConversations )
    {
        SCOPED_TRACE( NameOf( conversation ) );
        TestServices services;
        XNetServer server( "recorded" );
        XServeBridge<PredictableServer>( server, &services, MakeTestCipher( conversation.algorithm ) );
        server.Start( 0 );
        XNetEndpoint client;
        client.Connect( XNetAddress::GetLoopBackAddress( server.GetPort() ), kPatience );
        Send( client, kPreamble );
        for ( const Exchange& exchange : conversation.exchanges )
        {
            Send( client, exchange.sent );
            ExpectBytes( client, exchange.returned );
        }
        EXPECT_EQ( services.noted, 7u );
    }
}

TEST( XRPCBridgeBytesTest, ClientsCallByteForByte )
{
    for ( const Conversation& conversation : kConversations )
    {
        SCOPED_TRACE( NameOf( conversation ) );
        TestListener listener;
        TestThread server(
            [&]
            {
                const auto connection = listener.Accept();
                ExpectBytes( *connection, kPreamble );
                for ( const Exchange& exchange : conversation.exchanges )
                {
                    ExpectBytes( *connection, exchange.sent );
                    Send( *connection, exchange.returned );
                }
                return 0;
            } );
        server.StartThread();
        PredictableClient client( XRPCBridge::kClient, MakeTestCipher( conversation.algorithm ) );
        client.Connect( listener.GetAddress(), kPatience );
        if ( conversation.order == kMotorolaOrder )
            client.NegotiateByteOrder( kMotorolaOrder );
        EXPECT_EQ( client.Divide( 3, 4 ), 0.75 );
        client.Note_NoWaitForReturn( 7 );
        EXPECT_EQ( ErrorOf( [&] { client.Fail( 1023 ); } ), 1023u );
        server.WaitForTerminate( kPatience );
    }
}

/// Otherwise the client would read them as the return of its next call.
TEST( XRPCBridgeBytesTest, ClientsRefuseBytesAfterAReturn )
{
    const auto& conversation = kConversations[0];
    for ( const std::size_t last : { 1, 3 } ) // of the handshake, of a call
    {
        TestListener listener;
        TestThread server(
            [&]
            {
                const auto connection = listener.Accept();
                ExpectBytes( *connection, kPreamble );
                for ( std::size_t i = 0; i <= last; ++i )
                {
                    ExpectBytes( *connection, conversation.exchanges[i].sent );
                    Send(
                        *connection,
                        conversation.exchanges[i].returned + std::string( i == last ? "00" : "" ) );
                }
                return 0;
            } );
        server.StartThread();
        PredictableClient client( XRPCBridge::kClient, MakeTestCipher( conversation.algorithm ) );
        const auto call = [&]
        {
            client.Connect( listener.GetAddress(), kPatience );
            client.Divide( 3, 4 );
        };
        EXPECT_EQ( ErrorOf( call ), 1005u );
        EXPECT_EQ( ErrorOf( [&] { client.CheckAlive(); } ), 3100u );
        server.WaitForTerminate( kPatience );
    }
}

/// Divide( 3, 4 ) is returned twice, the second time before another call.
TEST( XRPCBridgeBytesTest, ClientsRefuseBytesBeforeACall )
{
    for ( const std::size_t cipher : { 0, 2, 4 } )
    {
        const auto& conversation = kConversations[cipher];
        TestListener listener;
        WEvent hasReturned;
        TestThread server(
            [&]
            {
                const auto connection = listener.Accept();
                ExpectBytes( *connection, kPreamble );
                for ( std::size_t i = 0; i <= 3; ++i )
                {
                    ExpectBytes( *connection, conversation.exchanges[i].sent );
                    Send( *connection, conversation.exchanges[i].returned );
                }
                hasReturned.Wait( kPatience );
                Send( *connection, conversation.exchanges[3].returned );
            } );
        server.StartThread();
        PredictableClient client( XRPCBridge::kClient, MakeTestCipher( conversation.algorithm ) );
        client.Connect( listener.GetAddress(), kPatience );
        EXPECT_EQ( client.Divide( 3, 4 ), 0.75 );
        hasReturned.Set();
        EXPECT_TRUE( Await( [&] { return client.HasBytesToRead(); } ) );
        EXPECT_ERROR( 1005, client.Divide( 1, 4 ) );
        EXPECT_ERROR( 3100, client.CheckAlive() );
        server.WaitForTerminate( kPatience );
    }
}
