#include "Pivot/XPivotRuns.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace
{
// The product moves the low bit of each byte into the top byte, the first byte's lowest.
std::uint64_t PackEight( const std::uint8_t* inExists )
{
    static_assert( std::endian::native == std::endian::little );
    std::uint64_t flags;
    std::memcpy( &flags, inExists, sizeof flags );
    return ( flags * 0x0102040810204080u ) >> 56;
}

std::uint64_t PackSixtyFour( const std::uint8_t* inExists )
{
    std::uint64_t bits = 0;
    for ( unsigned i = 0; i < 64; i += 8 )
        bits |= PackEight( inExists + i ) << i;
    return bits;
}
} // namespace

std::uint64_t XPackExistsFlags( const std::uint8_t* inExists, std::size_t inCount )
{
    if ( inCount >= 64 )
        return PackSixtyFour( inExists );
    std::uint8_t padded[64] = {};
    std::copy_n( inExists, inCount, padded );
    return PackSixtyFour( padded );
}

bool XPivotRunFinder::LoadNextWord()
{
    if ( itsNextRow >= itsSize )
        return false;
    itsWord = XPackExistsFlags( itsExists + itsNextRow, itsSize - itsNextRow );
    itsWordRow = itsNextRow;
    itsNextRow += kRowsPerWord;
    return true;
}

XPivotRunTotals XCountPivotRuns( const XVector<std::uint8_t>& inExists )
{
    XPivotRunTotals totals;
    std::uint64_t last = 0; // whether the row before the word is present
    for ( std::size_t row = 0; row < inExists.size(); row += 64 )
    {
        const std::uint64_t word = XPackExistsFlags( inExists.data() + row, inExists.size() - row );
        totals.runs += static_cast<unsigned>( std::popcount( word & ~( word << 1 | last ) ) );
        totals.rows += static_cast<unsigned>( std::popcount( word ) );
        last = word >> 63;
    }
    return totals;
}
