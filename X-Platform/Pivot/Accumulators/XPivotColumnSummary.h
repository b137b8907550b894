#pragma once

#include "Ground/XTypes.h"

#include <optional>

class XPivotColumn;

/// What the reductions of one column have in common, each part computed when it is first asked for, so that
/// several reductions pass over the rows once. Only present rows count. Sums are compensated: as near the
/// exact sum as a left-to-right one, or nearer.
///
/// Ownership: refers to the column, which outlives it unchanged.
/// Threads: one at a time.
class KORVALE_API XPivotColumnSummary
{
public:
    /// From one pass over the rows.
    struct XMoments
    {
        std::uint64_t count = 0;   ///< present rows, NaN among them
        std::uint64_t numbers = 0; ///< present rows that are not NaN
        double sum = 0.0;          ///< of the numbers
        double minimum;            ///< of the numbers, or the largest double
        double maximum; ///< of the numbers, or the smallest positive normal double, which also stands for
                        ///< the maximum of numbers that are all below it
    };

    // Not explicit: a reduction takes a column.
    XPivotColumnSummary( const XPivotColumn& inColumn ) : itsColumn( inColumn ) {}

    const XPivotColumn& GetColumn() const { return itsColumn; }
    const XMoments& GetMoments() const;
    /// The sum of the squared distances of the numbers from their mean.
    double GetSquaredDeviations() const;

private:
    const XPivotColumn& itsColumn;
    mutable std::optional<XMoments> itsMoments;
    mutable std::optional<double> itsSquaredDeviations;
};
