#include "Network/XEncryption.h"

#include "Core/StreamTools.h"

namespace
{

using Bytes = XBytes;
using Words = std::array<std::uint32_t, 2>;

std::string ToKey( const std::string& inHex )
{
    const Bytes bytes = FromHex( inHex );
    return std::string( bytes.begin(), bytes.end() );
}

/// Bytes without a pattern, the same at each call.
Bytes MakeBytes( std::size_t inCount )
{
    Bytes bytes( inCount );
    std::uint32_t state = 1;
    for ( std::uint8_t& byte : bytes )
        byte = static_cast<std::uint8_t>( ( state = state * 1664525 + 1013904223 ) >> 24 );
    return bytes;
}

Words EncryptBlock( const std::string& inHexKey, Words ioBlock )
{
    XEncryption::EncryptTEA( ioBlock.data(), ioBlock.data(), sizeof ioBlock, ToKey( inHexKey ).c_str() );
    return ioBlock;
}

} // namespace

/// The vectors of RFC 6229 for this key; the later ones come out of the path for long pieces.
TEST( XEncryptionTest, RC4GivesThePublishedKeyStream )
{
    const std::string key = ToKey( "0102030405060708090a0b0c0d0e0f10" );
    Bytes stream( 4112 );
    XEncryption::EncryptRC4( stream.data(), stream.data(), stream.size(), key.c_str(), nullptr );
    const auto at = [&]( std::ptrdiff_t inOffset )
    { return Bytes( stream.begin() + inOffset, stream.begin() + inOffset + 16 ); };
    EXPECT_EQ( at( 0 ), FromHex( "9ac7cc9a609d1ef7b2932899cde41b97" ) );
    EXPECT_EQ( at( 240 ), FromHex( "065902e4b620f6cc36c8589f66432f2b" ) );
    EXPECT_EQ( at( 4096 ), FromHex( "a36a4c301ae8ac13610ccbc12256cacc" ) );
}

/// However the bytes are cut, at whatever index a long piece begins.
TEST( XEncryptionTest, RC4GoesOnWhereItStopped )
{
    const Bytes plain = MakeBytes( 300'000 );
    const std::string key = ToKey( "00ff00ff102030405060708090a0b0c0" );
    Bytes whole( plain.size() );
    XEncryption::EncryptRC4( plain.data(), whole.data(), plain.size(), key.c_str(), nullptr );
    Bytes pieces( plain.size() );
    XEncryption::XRC4KeyState state( key.c_str() );
    for ( std::size_t done = 0, size = 1; done < plain.size(); done += size, size = ( size * 7 + 5 ) % 997 )
        XEncryption::EncryptRC4(
            plain.data() + done, pieces.data() + done, std::min( size, plain.size() - done ), key.c_str(),
            &state );
    EXPECT_EQ( pieces, whole );
    XEncryption::DecryptRC4( whole.data(), whole.data(), whole.size(), key.c_str(), nullptr );
    EXPECT_EQ( whole, plain );
}

TEST( XEncryptionTest, TEAGivesThePublishedBlocks )
{
    EXPECT_EQ( EncryptBlock( std::string( 32, '0' ), { 0, 0 } ), ( Words{ 0x41EA3A0A, 0x94BAA940 } ) );
    EXPECT_EQ(
        EncryptBlock( "00112233445566778899aabbccddeeff", { 0x01234567, 0x89ABCDEF } ),
        ( Words{ 0x126C6B92, 0xC0653A3E } ) );
}

/// Vectors do the same as single blocks, wherever the bytes lie, and leave what is beside them.
TEST( XEncryptionTest, TEADoesEachBlockByItself )
{
    const std::string key = ToKey( "fedcba98765432100123456789abcdef" );
    for ( const std::size_t size : { 0u, 8u, 120u, 128u, 136u, 1000u } )
    {
        const Bytes plain = MakeBytes( size );
        Bytes expected = plain;
        for ( std::size_t i = 0; i < size; i += 8 )
            XEncryption::EncryptTEA( &expected[i], &expected[i], 8, key.c_str() );
        Bytes buffer( size + 2, 0xEE );
        XEncryption::EncryptTEA( plain.data(), buffer.data() + 1, size, key.c_str() );
        EXPECT_TRUE( size == 0 || std::memcmp( buffer.data() + 1, expected.data(), size ) == 0 ) << size;
        XEncryption::DecryptTEA( buffer.data() + 1, buffer.data() + 1, size, key.c_str() );
        EXPECT_TRUE( size == 0 || std::memcmp( buffer.data() + 1, plain.data(), size ) == 0 ) << size;
        EXPECT_EQ( buffer.front() + buffer.back(), 2 * 0xEE );
    }
    char bytes[12] = {};
    EXPECT_ERROR( 1006, XEncryption::EncryptTEA( bytes, bytes, 12, key.c_str() ) );
}

TEST( XEncryptionTest, WritesBytesAsLetters )
{
    const std::uint8_t bytes[] = { 0x5A, 0x00, 0xFF };
    char letters[6];
    XEncryption::AsciiEncode( bytes, letters, 3 );
    EXPECT_EQ( std::string( letters, 6 ), "KFAAPP" );
    std::uint8_t decoded[3];
    XEncryption::AsciiDecode( letters, decoded, 3 );
    EXPECT_EQ( std::memcmp( decoded, bytes, 3 ), 0 );
}

/// The last two by hand: 2 * 1 = 2; then -1 * 1 as an unsigned 64-bit number is 4 modulo 11.
TEST( XEncryptionTest, ChecksSums )
{
    EXPECT_EQ( XEncryption::CheckSum( nullptr, 0 ), 'A' );
    EXPECT_EQ( XEncryption::CheckSum( "\x7F", 1 ), 'A' );
    EXPECT_EQ( XEncryption::CheckSum( "\x05\x02", 2 ), 'C' );
    EXPECT_EQ(
        XEncryption::CheckSum( "\x05\xFF", 2 ), static_cast<char>( 'A' + ( ~std::uint64_t( 0 ) % 11 ) ) );
}
