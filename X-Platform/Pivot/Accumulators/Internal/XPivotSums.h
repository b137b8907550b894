#pragma once

#include "Pivot/Accumulators/XPivotColumnSummary.h"
#include "Pivot/Columns/XPivotColumn.h"

/// The loops over blocks of rows behind XPivotColumnSummary. Internal.

/// A sum and what was lost in rounding it, lane by lane: the two together are the sum to about twice the
/// precision of a double. Meaningless once a lane has overflowed.
struct KORVALE_API XPivotSums
{
    static constexpr std::size_t kLanes = 16;

    double sums[kLanes] = {};
    double losses[kLanes] = {};

    void Add( std::size_t inLane, double inValue );
    /// The lanes together, correctly rounded but for the rarest cases.
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

/// One form of the loops.
struct XPivotSumLoops
{
    void ( *addMoments )( const XPivotColumn::XFloatBlock& inBlock, XPivotMomentSums& ioSums );
    void ( *addSquares )( const XPivotColumn::XFloatBlock& inBlock, double inMean, XPivotSums& ioSums );
};

/// The fastest form that the processor has the instructions for.
KORVALE_API const XPivotSumLoops& XGetPivotSumLoops();
/// The form for every processor.
KORVALE_API const XPivotSumLoops& XGetPortablePivotSumLoops();
