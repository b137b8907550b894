#include "Core/Streams/XByteOrder.h"

#include <array>
#include <cstring>

#if defined( __x86_64__ )
    #include <immintrin.h>
#endif

namespace
{
/// For each byte of a 32-byte block, the byte of its 16-byte half that takes its place.
using XShuffle = std::array<std::uint8_t, 32>;

/// Swaps as many whole blocks as there are in `inBytes` and returns the bytes done.
using XBlockSwapper = USize64 ( * )( std::uint8_t*, const std::uint8_t*, USize64, const XShuffle& );

constexpr XShuffle MakeShuffle( unsigned inWidth )
{
    XShuffle shuffle{};
    for ( unsigned i = 0; i < shuffle.size(); ++i )
        shuffle[i] =
            static_cast<std::uint8_t>( ( i % 16 ) / inWidth * inWidth + ( inWidth - 1 - i % inWidth ) );
    return shuffle;
}

template<class T>
void SwapElements( std::uint8_t* outBytes, const std::uint8_t* inBytes, USize64 inSize )
{
    for ( USize64 i = 0; i < inSize; i += sizeof( T ) )
    {
        T value;
        // Source and target may be the same, but are not otherwise allowed to overlap.
        std::memcpy( &value, inBytes + i, sizeof value );
        value = XSwapBytes( value );
        std::memcpy( outBytes + i, &value, sizeof value );
    }
}

#if defined( __x86_64__ )
__attribute__( ( target( "avx2" ) ) ) USize64 SwapBlocksAVX2(
    std::uint8_t* outBytes, const std::uint8_t* inBytes, USize64 inSize, const XShuffle& inShuffle )
{
    const __m256i shuffle = _mm256_loadu_si256( reinterpret_cast<const __m256i*>( inShuffle.data() ) );
    const USize64 end = inSize / 64 * 64;
    for ( USize64 i = 0; i < end; i += 64 )
    {
        const __m256i low = _mm256_loadu_si256( reinterpret_cast<const __m256i*>( inBytes + i ) );
        const __m256i high = _mm256_loadu_si256( reinterpret_cast<const __m256i*>( inBytes + i + 32 ) );
        _mm256_storeu_si256(
            reinterpret_cast<__m256i*>( outBytes + i ), _mm256_shuffle_epi8( low, shuffle ) );
        _mm256_storeu_si256(
            reinterpret_cast<__m256i*>( outBytes + i + 32 ), _mm256_shuffle_epi8( high, shuffle ) );
    }
    return end;
}

__attribute__( ( target( "ssse3" ) ) ) USize64 SwapBlocksSSSE3(
    std::uint8_t* outBytes, const std::uint8_t* inBytes, USize64 inSize, const XShuffle& inShuffle )
{
    const __m128i shuffle = _mm_loadu_si128( reinterpret_cast<const __m128i*>( inShuffle.data() ) );
    const USize64 end = inSize / 16 * 16;
    for ( USize64 i = 0; i < end; i += 16 )
    {
        const __m128i block = _mm_loadu_si128( reinterpret_cast<const __m128i*>( inBytes + i ) );
        _mm_storeu_si128( reinterpret_cast<__m128i*>( outBytes + i ), _mm_shuffle_epi8( block, shuffle ) );
    }
    return end;
}
#endif

USize64 SwapNoBlocks( std::uint8_t*, const std::uint8_t*, USize64, const XShuffle& )
{
    return 0;
}

XBlockSwapper ChooseBlockSwapper()
{
#if defined( __x86_64__ )
    __builtin_cpu_init();
    if ( __builtin_cpu_supports( "avx2" ) )
        return SwapBlocksAVX2;
    if ( __builtin_cpu_supports( "ssse3" ) )
        return SwapBlocksSSSE3;
#endif
    return SwapNoBlocks;
}

template<class T>
void SwapCopy( std::uint8_t* outBytes, const std::uint8_t* inBytes, USize64 inCount )
{
    static const XBlockSwapper sSwapBlocks = ChooseBlockSwapper();
    static constexpr XShuffle kShuffle = MakeShuffle( sizeof( T ) );
    const USize64 size = inCount * sizeof( T );
    const USize64 done = sSwapBlocks( outBytes, inBytes, size, kShuffle );
    SwapElements<T>( outBytes + done, inBytes + done, size - done );
}
} // namespace

void XSwapCopy( void* outBytes, const void* inBytes, USize64 inCount, unsigned inWidth )
{
    std::uint8_t* target = static_cast<std::uint8_t*>( outBytes );
    const std::uint8_t* source = static_cast<const std::uint8_t*>( inBytes );
    switch ( inWidth )
    {
    case 2:
        return SwapCopy<std::uint16_t>( target, source, inCount );
    case 4:
        return SwapCopy<std::uint32_t>( target, source, inCount );
    case 8:
        return SwapCopy<std::uint64_t>( target, source, inCount );
    default:
        std::memmove( target, source, inCount );
    }
}
