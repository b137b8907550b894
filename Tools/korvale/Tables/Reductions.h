#pragma once

#include "Pivot/Accumulators/XPivotTableAccumulator.h"

#include <string>
#include <vector>

/// A number that the rows of a cell are reduced to: one of those that an accumulator type gives, counted from 0.
struct Reduction
{
    XPivotTableAccumulator::XPivotTableAccumulatorType type;
    std::uint32_t place;

    bool operator==( const Reduction& ) const = default;

    /// True for those that need numbers.
    bool IsArithmetic() const;
};

/// The names of reductions and what they give, for people to read.
extern const char* const kReductionsHelp;

/// The reductions of a list of names that commas separate: "mean,sd". Throws WrongUsage for what is no name of one, with
/// the nearest, and for one that is there twice.
std::vector<Reduction> ParseReductions( const std::string& inList );

/// Selects all that they need.
XPivotTableAccumulator MakeAccumulator( const std::vector<Reduction>& inReductions );

/// The place of the reduction among all values that the accumulator gives.
std::uint32_t FindPlace( const XPivotTableAccumulator& inAccumulator, const Reduction& inReduction );
