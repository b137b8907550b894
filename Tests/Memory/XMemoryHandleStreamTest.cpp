#include "Core/StreamTools.h"
#include "Memory/TestManager.h"
#include "Memory/XAlignedMemoryHandle.h"
#include "Memory/XHandleStream.h"

namespace
{

constexpr auto kTypes = {
    XMemoryHandle::kNoCompression, XMemoryHandle::kFastestCompression, XMemoryHandle::kStandardCompression,
    XMemoryHandle::kBestCompression };

XMemoryHandle HandleOf( const XBytes& inBytes )
{
    XMemoryHandle handle( inBytes.size() );
    handle.CopyDataFrom( inBytes.data(), inBytes.size() );
    return handle;
}

XBytes BytesOf( const XMemoryHandle& inHandle )
{
    XBytes bytes( inHandle.GetDataSize() );
    inHandle.CopyDataTo( bytes.data(), bytes.size() );
    return bytes;
}

XBytes MakeNoise( std::size_t inSize )
{
    std::minstd_rand random( 1 );
    XBytes bytes( inSize );
    for ( auto& byte : bytes )
        byte = static_cast<std::uint8_t>( random() % 40 );
    return bytes;
}

std::uint32_t ReadError( const XBytes& inBytes )
{
    XMemStream stream( inBytes.data(), inBytes.size() );
    XMemoryHandle handle;
    return ErrorOrZero( [&] { handle.ReadStream2( stream ); } );
}

const char* const kPlainHex = "d507 0000  0300 0000 0000 0000  0000 0000  0300 0000 0000 0000  616263";
const char* const kCompressedHex =
    "d507 0000  1000 0000 0000 0000  0100 0000  0b00 0000 0000 0000  7801 4b4c 4405 0033 9806 11";

} // namespace

TEST( XMemoryHandleStreamTest, HasTheDocumentedBytes )
{
    XMemStream plain;
    HandleOf( { 'a', 'b', 'c' } ).WriteStream( plain, XMemoryHandle::kNoCompression );
    EXPECT_EQ( FromHex( kPlainHex ), BytesOf( plain ) );
    XMemStream compressed;
    HandleOf( XBytes( 16, 'a' ) ).WriteStream( compressed, XMemoryHandle::kFastestCompression );
    EXPECT_EQ( FromHex( kCompressedHex ), BytesOf( compressed ) );
    XMemStream motorola;
    motorola.SetByteOrder( kMotorolaOrder );
    HandleOf( { 'a' } ).WriteStream( motorola, XMemoryHandle::kNoCompression );
    EXPECT_EQ( FromHex( "000007d5 0000000000000001 00000000 0000000000000001 61" ), BytesOf( motorola ) );
}

TEST( XMemoryHandleStreamTest, ReadsBackInEveryCompression )
{
    TestManager manager;
    for ( const std::size_t size : { 0, 1, 65'536, 5'000'000 } )
    {
        const XBytes bytes = MakeNoise( size );
        const XMemoryHandle handle = HandleOf( bytes );
        for ( const auto type : kTypes )
        {
            XMemStream stream;
            handle.WriteStream( stream, type );
            stream.Write8( 99 );
            stream.SeekTo( 0 );
            USize64 foundSize = 0;
            USize64 storedLength = 0;
            XMemoryHandle::XCompressionType foundType = XMemoryHandle::kNoCompression;
            XMemoryHandle::GetHandleInfoFromStream( stream, foundSize, foundType, storedLength );
            EXPECT_EQ( size, foundSize );
            EXPECT_EQ( size == 0 ? XMemoryHandle::kNoCompression : type, foundType );
            stream.Seek( static_cast<SSize64>( storedLength ) );
            EXPECT_EQ( 99, stream.Read8() );

            const XBytes written = ::BytesOf( stream );
            ReadingStream open( written, 4096 );
            stream.SeekTo( 0 );
            XMappedFileMemoryHandle bounded;
            XAlignedMemoryHandle openEnded;
            bounded.ReadStream2( stream );
            openEnded.ReadStream2( open );
            EXPECT_EQ( bytes, BytesOf( bounded ) );
            EXPECT_EQ( bytes, BytesOf( openEnded ) );
            EXPECT_EQ( 99, stream.Read8() );
            EXPECT_EQ( 99, open.Read8() );
            if ( type == XMemoryHandle::kNoCompression )
            {
                EXPECT_EQ( handle.GetStreamUsage() + 1, stream.GetLength() );
            }
        }
    }
    EXPECT_EQ( 0u, manager.GetBytesInUse() );
}

TEST( XMemoryHandleStreamTest, RefusesDamage )
{
    const XBytes plain = FromHex( kPlainHex );
    const XBytes compressed = FromHex( kCompressedHex );
    EXPECT_EQ( 0u, ReadError( plain ) );
    EXPECT_EQ( 0u, ReadError( compressed ) );
    const auto changed = []( XBytes ioBytes, std::size_t inIndex, std::uint8_t inByte )
    {
        ioBytes[inIndex] = inByte;
        return ioBytes;
    };
    EXPECT_EQ( 1015u, ReadError( changed( plain, 2, 1 ) ) );
    EXPECT_EQ( 1005u, ReadError( changed( plain, 0, 0xd6 ) ) );
    EXPECT_EQ( 1005u, ReadError( changed( plain, 12, 2 ) ) );      // no such compression
    EXPECT_EQ( 1005u, ReadError( changed( plain, 16, 2 ) ) );      // another length than size
    EXPECT_EQ( 1005u, ReadError( changed( compressed, 11, 1 ) ) ); // more than zlib could make of it
    EXPECT_EQ( 1005u, ReadError( changed( compressed, 4, 17 ) ) ); // more bytes than there are
    EXPECT_EQ( 1005u, ReadError( changed( compressed, 4, 15 ) ) ); // fewer
    EXPECT_EQ( 1005u, ReadError( changed( compressed, 16, 10 ) ) );
    EXPECT_EQ( 1005u, ReadError( changed( compressed, 34, 0 ) ) ); // the check sum
    for ( const XBytes& bytes : { plain, compressed } )
        for ( std::size_t length = 0; length < bytes.size(); ++length )
            EXPECT_EQ(
                1260u, ReadError( XBytes( bytes.begin(), bytes.begin() + std::ptrdiff_t( length ) ) ) );
}

TEST( XMemoryHandleStreamTest, TakesNoMemoryForClaims )
{
    TestManager manager;
    for ( const char* type : { "00000000", "01000000" } )
    {
        const XBytes claim =
            FromHex( std::string( "d5070000 0000000000010000" ) + type + "0000000000010000 78" );
        EXPECT_EQ( 1260u, ReadError( claim ) );
        ReadingStream stream( claim, 4096 );
        XMemoryHandle handle;
        handle.Resize( 1 );
        EXPECT_ERROR( 1260, handle.ReadStream2( stream ) );
        EXPECT_EQ( 1u, handle.GetDataSize() );
    }
    EXPECT_LE( manager.GetPeakBytesInUse(), 2u << 20 );
}
