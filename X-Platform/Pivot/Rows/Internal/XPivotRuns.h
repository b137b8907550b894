#pragma once

#include "Ground/XTypes.h"

#include <bit>

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

/// True when all bytes are 0 or 1.
bool XAreExistsFlags( const XVector<std::uint8_t>& inBytes );
