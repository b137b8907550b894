#pragma once

#include "Ground/XTypes.h"

// Enumerations of XPivotTable that columns use too; XPivotTable makes them available as its members. They are
// defined here because columns must not include the table.

/// How a row's value v is compared with a reference r.
enum XPivotFilterRelationship : std::uint32_t
{
    kFilterNotEqual = 0,
    kFilterEqual = 1,
    kFilterLess = 2,
    kFilterGreater = 3,
    kFilterContains = 4, ///< the text of v contains the text of r
    kFilterLessOrEqual = 5,
    kFilterGreaterOrEqual = 6
};

/// Any value except 0 is descending.
enum XPivotSortDirection : std::uint32_t
{
    kSortAscending = 0,
    kSortDescending = 1
};

/// How NormaliseTo relates a value v to the control's value c.
enum XPivotTableControlRelationship : std::uint32_t
{
    kControlRatio = 0,             ///< v / c
    kControlPercent = 1,           ///< 100 v / c
    kControlDifference = 2,        ///< v - c, in the units of v
    kControlPercentDifference = 3, ///< 100 (v - c) / c
    kControlLogRatio = 4           ///< log2( v / c ): 1 is twice as much, -1 half
};
