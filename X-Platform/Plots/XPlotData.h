#pragma once

#include "Drawing/WCanvas.h"
#include "Pivot/Columns/XPivotColumn.h"
#include "WPlatform.h"

#include <cstdint>
#include <string>
#include <vector>

/// The largest number of groups with individual colours; all others share one.
constexpr std::size_t kMostPlotGroups = 7;

/// A column to plot along an axis.
struct XPlotColumn
{
    const XPivotColumn& column;
    bool isLogarithmic;
};

struct XPlotGroup
{
    std::string name; ///< UTF-8
    WColour colour;
    std::uint64_t count = 0;
};

/// The rows that can be drawn, in the order of the table.
struct XPlotData
{
    std::vector<std::vector<double>> numbers; ///< for each column the numbers of all rows
    std::vector<std::uint32_t> groupOfRow;
    std::vector<XPlotGroup> groups; ///< at least one, unless there are no rows
    std::uint64_t leftOut = 0;      ///< rows without a number that can be drawn
};

/// Reads the first `inRowCount` rows of columns of one table. With `inGroups`, rows are grouped by their text
/// in that column, in the order of the column's values, missing values and NaN first; of more than
/// kMostPlotGroups groups, the largest have their own. Without it, all rows are in one group without a name.
KORVALE_IMAGING_API XPlotData XReadPlotData(
    std::uint32_t inRowCount, const std::vector<XPlotColumn>& inColumns, const XPivotColumn* inGroups );
