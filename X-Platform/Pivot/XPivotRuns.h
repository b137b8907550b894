#pragma once

#include "Core/XTypes.h"

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

    bool LoadNextWord();

    const std::uint8_t* itsExists;
    std::size_t itsSize;
    std::size_t itsNextRow = 0; // the first row not yet loaded
    std::size_t itsWordRow = 0; // the row of the word's lowest bit
    std::uint64_t itsWord = 0;  // a bit per row; cleared as runs are handed out
};

/// How many runs, and how many present rows in them.
struct XPivotRunTotals
{
    std::uint64_t runs = 0;
    std::uint64_t rows = 0;
};
XPivotRunTotals XCountPivotRuns( const XVector<std::uint8_t>& inExists );

/// The flags of up to 64 rows as bits, the first row lowest.
std::uint64_t XPackExistsFlags( const std::uint8_t* inExists, std::size_t inCount );
