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

/// Adds the sums of the bytes of each half to that half.
__m128i AddBytes( __m128i inSums, __m128i inBytes )
{
    return _mm_add_epi64( inSums, _mm_sad_epu8( inBytes, _mm_setzero_si128() ) );
}

std::uint64_t AddHalves( __m128i inSums )
{
    const __m128i sum = _mm_add_epi64( inSums, _mm_unpackhi_epi64( inSums, inSums ) );
    return static_cast<std::uint64_t>( _mm_cvtsi128_si64( sum ) );
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

XPivotRunTotals XCountPivotRuns( const XVector<std::uint8_t>& inExists )
{
    if ( inExists.empty() )
        return {};
    const std::uint8_t* exists = inExists.data();
    const std::size_t size = inExists.size();
    __m128i runs = _mm_setzero_si128(), rows = _mm_setzero_si128();
    std::size_t row = 1; // from the second on, each row has one before it
    for ( ; row + 16 <= size; row += 16 )
    {
        const __m128i flags = LoadFlags( exists + row );
        runs = AddBytes( runs, _mm_andnot_si128( LoadFlags( exists + row - 1 ), flags ) );
        rows = AddBytes( rows, flags );
    }
    XPivotRunTotals totals = { AddHalves( runs ) + exists[0], AddHalves( rows ) + exists[0] };
    for ( ; row < size; ++row )
    {
        totals.runs += exists[row] > exists[row - 1];
        totals.rows += exists[row];
    }
    return totals;
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
