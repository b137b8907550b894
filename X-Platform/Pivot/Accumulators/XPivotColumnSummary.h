#pragma once

#include "Ground/XTypes.h"

#include <optional>

class XPivotColumn;

/// Intermediate results shared by the aggregates of one column. Each is computed when first needed, so
/// several aggregates read the rows only once. Only present rows count. Sums are compensated: at least as
/// close to the exact sum as summing from the first row to the last.
///
/// Ownership: refers to the column, which must outlive it and must not change meanwhile.
/// Threads: one at a time.
class KORVALE_API XPivotColumnSummary
{
public:
    /// Results of one pass over the rows.
    struct XMoments
    {
        std::uint64_t count = 0;   ///< present rows, including NaN
        std::uint64_t numbers = 0; ///< present rows that are not NaN
        double sum = 0.0;          ///< of all numbers
        double minimum;            ///< of the numbers; without numbers the largest double
        double maximum;            ///< of the numbers; the smallest positive normal double without
                                   ///< numbers, and if all numbers are smaller than that
    };

    // Not explicit, so that aggregates accept a column.
    XPivotColumnSummary( const XPivotColumn& inColumn ) : itsColumn( inColumn ) {}

    const XPivotColumn& GetColumn() const { return itsColumn; }
    const XMoments& GetMoments() const;
    /// The sum of the squared differences between the numbers and their mean.
    double GetSquaredDeviations() const;

private:
    const XPivotColumn& itsColumn;
    mutable std::optional<XMoments> itsMoments;
    mutable std::optional<double> itsSquaredDeviations;
};
