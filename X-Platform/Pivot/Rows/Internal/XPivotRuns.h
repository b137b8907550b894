#pragma once

#include "Ground/XTypes.h"

#include <bit>

#if defined( __x86_64__ )
    #include <emmintrin.h>
#endif

/// Consecutive present rows. Internal.
struct XPivotRun
{
    std::uint32_t start;
    std::uint32_t length;

    bool operator==( const XPivotRun& ) const = default;
};

/// Finds the maximal runs of present rows in exists flags, from the first row on. Internal.
class XPivotRunFinder
{
public:
    explicit XPivotRunFinder( const XVector<std::uint8_t>& inExists )
        : itsExists( inExists.data() ), itsSize( inExists.size() )
    {
    }

    /// False when there are no more.
    bool Next( XPivotRun& outRun );

private:
    static constexpr std::size_t kRowsPerWord = 64;

    KORVALE_API bool LoadNextWord();

    const std::uint8_t* itsExists;
    std::size_t itsSize;
    std::size_t itsNextRow = 0; // the first row not yet loaded
    std::size_t itsWordRow = 0; // the row of the word's lowest bit
    std::uint64_t itsWord = 0;  // a bit per row; cleared as runs are handed out
};

// Inline, so that callers get the run in registers: copied through memory it costs more than it took to find.
inline bool XPivotRunFinder::Next( XPivotRun& outRun )
{
    while ( itsWord == 0 )
    {
        if ( !LoadNextWord() )
            return false;
    }
    const std::size_t start = itsWordRow + static_cast<std::size_t>( std::countr_zero( itsWord ) );
    // Adding the lowest set bit carries through the run; what overflows went on to the end of the word.
    std::uint64_t after = itsWord + ( itsWord & ( 0 - itsWord ) );
    while ( after == 0 && LoadNextWord() )
        after = itsWord + 1;
    const std::size_t end =
        after == 0 ? itsSize : itsWordRow + static_cast<std::size_t>( std::countr_zero( after ) );
    itsWord &= after;
    outRun = { static_cast<std::uint32_t>( start ), static_cast<std::uint32_t>( end - start ) };
    return true;
}

/// 64 flags as bits, the first one lowest, by what every processor has.
KORVALE_API std::uint64_t XPackPivotFlagsPortably( const std::uint8_t* inExists );

/// Fewer than 64 flags, as XPackPivotFlags.
std::uint64_t XPackFewPivotFlags( const std::uint8_t* inExists, std::size_t inCount );

#if defined( __x86_64__ )
/// Sixteen flags as bits: shifted to the top of their bytes, where the mask is taken from.
inline std::uint64_t XPackSixteenPivotFlags( const std::uint8_t* inExists )
{
    const __m128i flags = _mm_loadu_si128( reinterpret_cast<const __m128i*>( inExists ) );
    return static_cast<std::uint32_t>( _mm_movemask_epi8( _mm_slli_epi16( flags, 7 ) ) );
}
#endif

/// The first 64 of so many flags as bits, the first one lowest; zeros for those that there are not.
[[gnu::always_inline]] inline std::uint64_t
XPackPivotFlags( const std::uint8_t* inExists, std::size_t inCount )
{
    if ( inCount < 64 ) [[unlikely]]
        return XPackFewPivotFlags( inExists, inCount );
#if defined( __x86_64__ )
    return XPackSixteenPivotFlags( inExists ) | XPackSixteenPivotFlags( inExists + 16 ) << 16 |
        XPackSixteenPivotFlags( inExists + 32 ) << 32 | XPackSixteenPivotFlags( inExists + 48 ) << 48;
#else
    return XPackPivotFlagsPortably( inExists );
#endif
}

/// True when all bytes are 0 or 1.
bool XAreExistsFlags( const XVector<std::uint8_t>& inBytes );
