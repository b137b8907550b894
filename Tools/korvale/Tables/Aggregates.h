#pragma once

#include "Pivot/Accumulators/XPivotTableAccumulator.h"

#include <string>
#include <vector>

/// A number that the rows of a cell are reduced to: one of those that an accumulator type gives, counted from 0.
struct Aggregate
{
    XPivotTableAccumulator::XPivotTableAccumulatorType type;
    std::uint32_t place;

    bool operator==( const Aggregate& ) const = default;

    /// True for those that need numbers.
    bool IsArithmetic() const;
};

/// The names of aggregates and what they give, for people to read.
extern const char* const kAggregatesHelp;

/// The aggregates of a list of names that commas separate: "mean,sd". Throws WrongUsage for what is no name of one, with
/// the nearest, and for one that is there twice.
std::vector<Aggregate> ParseAggregates( const std::string& inList );

/// Selects all that they need.
XPivotTableAccumulator MakeAccumulator( const std::vector<Aggregate>& inAggregates );

/// The place of the aggregate among all values that the accumulator gives.
std::uint32_t FindPlace( const XPivotTableAccumulator& inAccumulator, const Aggregate& inReduction );
