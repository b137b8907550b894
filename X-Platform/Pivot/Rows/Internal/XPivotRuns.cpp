#include "Pivot/Rows/Internal/XPivotRuns.h"

#include <algorithm>
#include <cstring>

#if defined( __x86_64__ )
    #include <emmintrin.h>
#endif

namespace
{
constexpr std::uint64_t kLowestBits = 0x0101010101010101; // of each byte

std::uint64_t LoadEight( const std::uint8_t* inBytes )
{
    std::uint64_t word;
    std::memcpy( &word, inBytes, sizeof word );
    if constexpr ( std::endian::native == std::endian::big )
        word = __builtin_bswap64( word );
    return word;
}

#if defined( __x86_64__ )
/// Sixteen flags as bits: shifted to the top of their bytes, where the mask is taken from.
std::uint64_t PackSixteen( const std::uint8_t* inExists )
{
    const __m128i flags = _mm_loadu_si128( reinterpret_cast<const __m128i*>( inExists ) );
    return static_cast<std::uint32_t>( _mm_movemask_epi8( _mm_slli_epi16( flags, 7 ) ) );
}

std::uint64_t PackSixtyFour( const std::uint8_t* inExists )
{
    std::uint64_t bits = 0;
    for ( unsigned i = 0; i < 64; i += 16 )
        bits |= PackSixteen( inExists + i ) << i;
    return bits;
}
#else
std::uint64_t PackSixtyFour( const std::uint8_t* inExists )
{
    return XPackPivotFlagsPortably( inExists );
}
#endif

/// The flags of up to 64 rows as bits, the first row lowest.
std::uint64_t PackFlags( const std::uint8_t* inExists, std::size_t inCount )
{
    if ( inCount >= 64 )
        return PackSixtyFour( inExists );
    std::uint8_t padded[64] = {};
    std::copy_n( inExists, inCount, padded );
    return PackSixtyFour( padded );
}

} // namespace

bool XPivotRunFinder::LoadNextWord()
{
    if ( itsNextRow >= itsSize )
        return false;
    itsWord = PackFlags( itsExists + itsNextRow, itsSize - itsNextRow );
    itsWordRow = itsNextRow;
    itsNextRow += kRowsPerWord;
    return true;
}

std::uint64_t XPackPivotFlagsPortably( const std::uint8_t* inExists )
{
    constexpr std::uint64_t kGather =
        0x0102040810204080; // moves bit 0 of byte i to bit i of the highest byte
    std::uint64_t bits = 0;
    for ( unsigned i = 0; i < 64; i += 8 )
        bits |= ( LoadEight( inExists + i ) & kLowestBits ) * kGather >> 56 << i;
    return bits;
}

bool XAreExistsFlags( const XVector<std::uint8_t>& inBytes )
{
    constexpr std::size_t kStep = 32;
    std::uint64_t all = 0;
    std::size_t i = 0;
    for ( ; i + kStep <= inBytes.size(); i += kStep )
        all |= LoadEight( inBytes.data() + i ) | LoadEight( inBytes.data() + i + 8 ) |
            LoadEight( inBytes.data() + i + 16 ) | LoadEight( inBytes.data() + i + 24 );
    for ( ; i < inBytes.size(); ++i )
        all |= inBytes[i];
    return ( all & ~kLowestBits ) == 0;
}
