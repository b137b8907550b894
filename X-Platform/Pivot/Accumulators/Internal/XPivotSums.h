#pragma once

#include "Pivot/Accumulators/XPivotColumnSummary.h"
#include "Pivot/Columns/XPivotColumn.h"

/// The loops of XPivotColumnSummary over blocks of rows. Internal.

/// A compensated sum in several lanes: `sums` plus `losses`, the rounding errors, is the sum to about twice
/// the precision of a double. Undefined once a lane has overflowed.
struct KORVALE_API XPivotSums
{
    static constexpr std::size_t kLanes = 16;

    double sums[kLanes] = {};
    double losses[kLanes] = {};

    void Add( std::size_t inLane, double inValue );
    /// The sum of all lanes, correctly rounded except in very rare cases.
    double GetTotal() const;
};

struct KORVALE_API XPivotMomentSums
{
    std::uint64_t count = 0;
    std::uint64_t numbers = 0;
    XPivotSums sum;
    double minima[XPivotSums::kLanes];
    double maxima[XPivotSums::kLanes];

    XPivotMomentSums();
};

/// One implementation of the loops.
struct XPivotSumLoops
{
    void ( *addMoments )( const XPivotColumn::XFloatBlock& inBlock, XPivotMomentSums& ioSums );
    void ( *addSquares )( const XPivotColumn::XFloatBlock& inBlock, double inMean, XPivotSums& ioSums );
};

/// The fastest implementation that the processor supports.
KORVALE_API const XPivotSumLoops& XGetPivotSumLoops();
/// The implementation for every processor.
KORVALE_API const XPivotSumLoops& XGetPortablePivotSumLoops();
