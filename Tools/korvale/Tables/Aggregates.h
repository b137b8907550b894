#pragma once

#include "Pivot/Accumulators/XPivotTableAccumulator.h"

#include <string>
#include <vector>

/// An aggregate of the rows of a cell: one of the values, counted from 0, of an accumulator type.
struct Aggregate
{
    XPivotTableAccumulator::XPivotTableAccumulatorType type;
    std::uint32_t place;

    bool operator==( const Aggregate& ) const = default;

    /// True for aggregates that need numbers.
    bool IsArithmetic() const;
};

/// Help text: the names of aggregates and their meaning.
extern const char* const kAggregatesHelp;

/// Parses a comma-separated list of aggregates: "mean,sd". Throws WrongUsage for an unknown name, with the
/// nearest one, and for a repeated one.
std::vector<Aggregate> ParseAggregates( const std::string& inList );

/// Makes an accumulator that computes all of them.
XPivotTableAccumulator MakeAccumulator( const std::vector<Aggregate>& inAggregates );

/// The index of the aggregate among all values of the accumulator.
std::uint32_t FindPlace( const XPivotTableAccumulator& inAccumulator, const Aggregate& inAggregate );
