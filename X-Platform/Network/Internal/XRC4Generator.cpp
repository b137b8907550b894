#include "Network/Internal/XRC4Generator.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#if defined( __x86_64__ )
    #include <immintrin.h>
#endif

// Each byte needs the table that the one before has left, so the generator cannot be done in parallel; what counts is how
// soon the next step can begin. Long pieces go by a table of words, since a processor takes longer to read bytes that it
// has just written, and by blocks of 16, whose places in the table are fixed. A step reads the next entry before it
// stores its own two, so that the read waits for neither; in the one case of 256 where that entry changes, it is put right.

namespace
{

constexpr USize kBytesAtOnce = 16;

// Shorter pieces do not make up for filling the table of words.
constexpr USize kLong = 256;

/// The state that changes in each step, apart from the table. Kept separate so that it stays in registers.
struct Cursor
{
    std::uint32_t j;
    std::uint32_t next; // the table's entry for the next step
};

using BlockMixer =
    void ( * )( std::uint32_t*, Cursor&, std::uint32_t, const std::uint8_t*, std::uint8_t*, USize );

/// The byte of the key stream for one place of the block that begins at `inBase`.
template<unsigned kPlace>
[[gnu::always_inline]] inline std::uint8_t
Step( std::uint32_t* ioWords, Cursor& ioCursor, std::uint32_t inBase )
{
    std::uint32_t* const block = ioWords + inBase;
    const std::uint32_t a = ioCursor.next;
    const std::uint32_t j = static_cast<std::uint8_t>( ioCursor.j + a );
    const std::uint32_t b = ioWords[j];
    // After the last place of a block the next one begins, from 255 at 0.
    const std::uint32_t following = static_cast<std::uint8_t>( inBase + kPlace + 1 );
    std::uint32_t next = kPlace + 1 < kBytesAtOnce ? block[kPlace + 1] : ioWords[following];
    block[kPlace] = b;
    ioWords[j] = a;
    if ( j == following ) [[unlikely]]
    {
        asm volatile(
            ""
            : "+r"( next ) ); // keeps this a branch: as a conditional move it would delay every step
        next = a;
    }
    ioCursor = { j, next };
    return static_cast<std::uint8_t>( ioWords[static_cast<std::uint8_t>( a + b )] );
}

using Places = std::make_integer_sequence<unsigned, kBytesAtOnce>;

template<unsigned... kPlaces>
[[gnu::always_inline]] inline void MixPlainBlock(
    std::uint32_t* ioWords, Cursor& ioCursor, std::uint32_t inBase, const std::uint8_t* inBytes,
    std::uint8_t* outBytes, std::integer_sequence<unsigned, kPlaces...> )
{
    ( ...,
      ( outBytes[kPlaces] =
            static_cast<std::uint8_t>( inBytes[kPlaces] ^ Step<kPlaces>( ioWords, ioCursor, inBase ) ) ) );
}

void MixPlainBlocks(
    std::uint32_t* ioWords, Cursor& ioCursor, std::uint32_t inBase, const std::uint8_t* inBytes,
    std::uint8_t* outBytes, USize inLength )
{
    Cursor cursor = ioCursor;
    for ( USize done = 0; done < inLength; done += kBytesAtOnce, inBase = ( inBase + kBytesAtOnce ) & 0xFF )
        MixPlainBlock( ioWords, cursor, inBase, inBytes + done, outBytes + done, Places() );
    ioCursor = cursor;
}

#if defined( __x86_64__ )
    #define KORVALE_SSE41 __attribute__( ( target( "sse4.1" ) ) )

template<unsigned kPlace>
[[gnu::always_inline]] KORVALE_SSE41 inline void
StepInto( __m128i& ioBytes, std::uint32_t* ioWords, Cursor& ioCursor, std::uint32_t inBase )
{
    ioBytes = _mm_insert_epi8( ioBytes, Step<kPlace>( ioWords, ioCursor, inBase ), kPlace );
}

/// The bytes of even and of odd places are collected apart, so that an insertion waits for the last but one only.
template<unsigned... kPlaces>
[[gnu::always_inline]] KORVALE_SSE41 inline __m128i MakeBlock(
    std::uint32_t* ioWords, Cursor& ioCursor, std::uint32_t inBase,
    std::integer_sequence<unsigned, kPlaces...> )
{
    __m128i even = _mm_setzero_si128();
    __m128i odd = _mm_setzero_si128();
    ( ..., StepInto<kPlaces>( kPlaces % 2 == 0 ? even : odd, ioWords, ioCursor, inBase ) );
    return _mm_or_si128( even, odd );
}

KORVALE_SSE41 void MixBlocksSSE41(
    std::uint32_t* ioWords, Cursor& ioCursor, std::uint32_t inBase, const std::uint8_t* inBytes,
    std::uint8_t* outBytes, USize inLength )
{
    Cursor cursor = ioCursor;
    for ( USize done = 0; done < inLength; done += kBytesAtOnce, inBase = ( inBase + kBytesAtOnce ) & 0xFF )
    {
        const __m128i keys = MakeBlock( ioWords, cursor, inBase, Places() );
        const __m128i bytes = _mm_loadu_si128( reinterpret_cast<const __m128i*>( inBytes + done ) );
        _mm_storeu_si128( reinterpret_cast<__m128i*>( outBytes + done ), _mm_xor_si128( bytes, keys ) );
    }
    ioCursor = cursor;
}
#endif

BlockMixer ChooseBlockMixer()
{
#if defined( __x86_64__ )
    __builtin_cpu_init();
    if ( __builtin_cpu_supports( "sse4.1" ) )
        return MixBlocksSSE41;
#endif
    return MixPlainBlocks;
}

} // namespace

void XRC4Generator::Mix( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength )
{
    USize done = 0;
    if ( inLength >= kLong )
    {
        // Blocks begin at multiples of 16, the step after this index. The steps up to there are done by bytes.
        done = ( kBytesAtOnce - 1 - itsI ) % kBytesAtOnce;
        MixBytes( inBytes, outBytes, done );
        done += MixBlocks( inBytes + done, outBytes + done, inLength - done );
    }
    MixBytes( inBytes + done, outBytes + done, inLength - done );
}

void XRC4Generator::MixBytes( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength )
{
    std::uint8_t* const s = itsPermutation;
    std::uint8_t i = itsI;
    std::uint8_t j = itsJ;
    for ( USize n = 0; n < inLength; ++n )
    {
        const std::uint8_t a = s[++i];
        j = static_cast<std::uint8_t>( j + a );
        const std::uint8_t b = s[j];
        s[i] = b;
        s[j] = a;
        outBytes[n] = inBytes[n] ^ s[static_cast<std::uint8_t>( a + b )];
    }
    itsI = i;
    itsJ = j;
}

/// Returns the bytes done: whole blocks.
USize XRC4Generator::MixBlocks( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength )
{
    static const BlockMixer sMixBlocks = ChooseBlockMixer();
    const USize length = inLength / kBytesAtOnce * kBytesAtOnce;
    const std::uint32_t base = ( itsI + 1u ) & 0xFF;
    alignas( 64 ) std::uint32_t words[256];
    std::copy( std::begin( itsPermutation ), std::end( itsPermutation ), words );
    Cursor cursor{ itsJ, words[base] };
    sMixBlocks( words, cursor, base, inBytes, outBytes, length );
    std::transform(
        std::begin( words ), std::end( words ), itsPermutation,
        []( std::uint32_t inWord ) { return static_cast<std::uint8_t>( inWord ); } );
    itsI = static_cast<std::uint8_t>( itsI + length );
    itsJ = static_cast<std::uint8_t>( cursor.j );
    return length;
}
