#include "Pivot/Rows/Internal/XPivotRuns.h"

#include <algorithm>
#include <cstring>

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
} // namespace

bool XPivotRunFinder::LoadNextWord()
{
    if ( itsNextRow >= itsSize )
        return false;
    itsWord = XPackPivotFlags( itsExists + itsNextRow, itsSize - itsNextRow );
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

std::uint64_t XPackFewPivotFlags( const std::uint8_t* inExists, std::size_t inCount )
{
    std::uint8_t padded[64] = {};
    std::copy_n( inExists, inCount, padded );
    return XPackPivotFlags( padded, 64 );
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
