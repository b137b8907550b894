#include "Compression/XLZOCompressor.h"
#include "Compression/XZlibCompressor.h"
#include "Core/StreamTools.h"
#include "Ground/XErrorNumbers.h"
#include "Testing.h"

namespace
{
const XLZOCompressor kLZO;
const XZlibCompressor kZlib;
const std::initializer_list<const XCompressor*> kCompressors = { &kLZO, &kZlib };

XBytes MakeText( std::size_t inSize, unsigned inSymbols )
{
    std::minstd_rand random( 1 );
    XBytes bytes( inSize );
    for ( auto& byte : bytes )
        byte = static_cast<std::uint8_t>( random() % inSymbols );
    return bytes;
}
} // namespace

TEST( XCompressorTest, RestoresWhatItCompresses )
{
    const auto samples = {
        XBytes(), XBytes( 1, 7 ), MakeText( 65'537, 4 ), MakeText( 3'000'000, 256 ), XBytes( 5'000'000, 0 ) };
    for ( const auto* const compressor : kCompressors )
        for ( const XBytes& bytes : samples )
        {
            const auto packed = compressor->Compress( bytes );
            XBytes exact( bytes.size() );
            compressor->Decompress( packed, exact );
            EXPECT_TRUE( exact == bytes );
            EXPECT_TRUE( compressor->Decompress( packed, bytes.size() ) == bytes );
            EXPECT_TRUE( compressor->Decompress( packed, USize64{ 1 } << 31 ) == bytes );
            EXPECT_LT( bytes.size(), ( packed.size() + 1 ) * 1032 );
        }
}

TEST( XCompressorTest, ReadsTheFormatsOfOthers )
{
    const XBytes bytes( 40, 'a' );
    EXPECT_EQ( kZlib.Decompress( FromHex( "789c 4b4c 240e 0000 36eb 0f29" ), 40 ), bytes );
    EXPECT_EQ(
        kLZO.Decompress( FromHex( "02 6161616161 32 10 00 0c 616161616161616161616161616161 110000" ), 40 ),
        bytes );
    EXPECT_EQ( kLZO.Decompress( FromHex( "14 616263 110000" ), 3 ), ( XBytes{ 'a', 'b', 'c' } ) );
}

TEST( XCompressorTest, RejectsDamageTrailingBytesAndMoreOutputThanIsAccepted )
{
    const XBytes bytes = MakeText( 3'000, 3 );
    for ( const auto* const compressor : kCompressors )
    {
        const auto packed = compressor->Compress( bytes );
        for ( const std::size_t size : { bytes.size() - 1, bytes.size() + 1, std::size_t{ 0 } } )
        {
            XBytes other( size );
            EXPECT_ERROR( kErrorStreamCorrupted, compressor->Decompress( packed, other ) );
        }
        EXPECT_ERROR( kErrorStreamCorrupted, compressor->Decompress( packed, bytes.size() - 1 ) );
        for ( std::size_t size = 0; size < packed.size(); ++size )
            EXPECT_ERROR(
                kErrorStreamCorrupted,
                compressor->Decompress( XCompressor::Bytes( packed ).first( size ), bytes.size() ) );
        auto longer = packed;
        longer.push_back( 0 );
        EXPECT_ERROR( kErrorStreamCorrupted, compressor->Decompress( longer, bytes.size() ) );
        // A bomb: what it claims is not allocated, and what it has is refused.
        const auto bomb = compressor->Compress( XBytes( 100'000'000, 0 ) );
        EXPECT_ERROR( kErrorStreamCorrupted, compressor->Decompress( bomb, 1'000'000 ) );
    }
}
