#include "Pivot/XPivotRuns.h"

#include <algorithm>
#include <emmintrin.h>

namespace
{
__m128i LoadFlags( const std::uint8_t* inExists )
{
    return _mm_loadu_si128( reinterpret_cast<const __m128i*>( inExists ) );
}

/// Sixteen flags as bits: shifted to the top of their bytes, where the mask is taken from.
std::uint64_t PackSixteen( const std::uint8_t* inExists )
{
    return static_cast<std::uint32_t>( _mm_movemask_epi8( _mm_slli_epi16( LoadFlags( inExists ), 7 ) ) );
}

std::uint64_t PackSixtyFour( const std::uint8_t* inExists )
{
    std::uint64_t bits = 0;
    for ( unsigned i = 0; i < 64; i += 16 )
        bits |= PackSixteen( inExists + i ) << i;
    return bits;
}

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

bool XAreExistsFlags( const XVector<std::uint8_t>& inBytes )
{
    __m128i all = _mm_setzero_si128();
    std::size_t i = 0;
    for ( ; i + 16 <= inBytes.size(); i += 16 )
        all = _mm_or_si128( all, LoadFlags( inBytes.data() + i ) );
    const __m128i one = _mm_set1_epi8( 1 );
    const bool areFlags = _mm_movemask_epi8( _mm_cmpeq_epi8( _mm_max_epu8( all, one ), one ) ) == 0xFFFF;
    return areFlags &&
        std::all_of(
               inBytes.data() + i, inBytes.data() + inBytes.size(),
               []( std::uint8_t inByte ) { return inByte <= 1; } );
}
