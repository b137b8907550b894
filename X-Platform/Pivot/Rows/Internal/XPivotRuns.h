#pragma once

#include "Ground/XTypes.h"

#include <bit>

#if defined( __x86_64__ )
    #include <emmintrin.h>
#endif

/// A run: consecutive present rows. Internal.
struct XPivotRun
{
    std::uint32_t start;
    std::uint32_t length;

    bool operator==( const XPivotRun& ) const = default;
};

/// Finds the maximal runs of present rows from presence flags, starting at the first row. Internal.
class XPivotRunFinder
{
public:
    explicit XPivotRunFinder( const XVector<std::uint8_t>& inExists )
        : itsExists( inExists.data() ), itsSize( inExists.size() )
    {
    }

    /// Returns false if there are no more runs.
    bool Next( XPivotRun& outRun );

private:
    static constexpr std::size_t kRowsPerWord = 64;

    KORVALE_API bool LoadNextWord();

    const std::uint8_t* itsExists;
    std::size_t itsSize;
    std::size_t itsNextRow = 0; // the first row not yet loaded
    std::size_t itsWordRow = 0; // the row of the word's lowest bit
    std::uint64_t itsWord = 0;  // one bit per row; cleared as runs are returned
};

// Inline, so that the run is returned in registers: copying it through memory would take longer than finding
// it.
inline bool XPivotRunFinder::Next( XPivotRun& outRun )
{
    while ( itsWord == 0 )
    {
        if ( !LoadNextWord() )
            return false;
    }
    const std::size_t start = itsWordRow + static_cast<std::size_t>( std::countr_zero( itsWord ) );
    // Adding the lowest set bit carries through the run; an overflow means that the run reaches the end of
    // the word.
    std::uint64_t after = itsWord + ( itsWord & ( 0 - itsWord ) );
    while ( after == 0 && LoadNextWord() )
        after = itsWord + 1;
    const std::size_t end =
        after == 0 ? itsSize : itsWordRow + static_cast<std::size_t>( std::countr_zero( after ) );
    itsWord &= after;
    outRun = { static_cast<std::uint32_t>( start ), static_cast<std::uint32_t>( end - start ) };
    return true;
}

/// Packs 64 flags into bits, the first one lowest, on any processor.
KORVALE_API std::uint64_t XPackPivotFlagsPortably( const std::uint8_t* inExists );

/// Packs fewer than 64 flags; see XPackPivotFlags.
std::uint64_t XPackFewPivotFlags( const std::uint8_t* inExists, std::size_t inCount );

#if defined( __x86_64__ )
/// Packs 16 flags into bits: each flag is shifted to the top bit of its byte, from which the mask is taken.
inline std::uint64_t XPackSixteenPivotFlags( const std::uint8_t* inExists )
{
    const __m128i flags = _mm_loadu_si128( reinterpret_cast<const __m128i*>( inExists ) );
    return static_cast<std::uint32_t>( _mm_movemask_epi8( _mm_slli_epi16( flags, 7 ) ) );
}
#endif

/// Packs the first 64 of `inCount` flags into bits, the first one lowest; bits beyond the last flag are 0.
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

/// True if all bytes are 0 or 1.
bool XAreExistsFlags( const XVector<std::uint8_t>& inBytes );
