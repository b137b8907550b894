#pragma once

#include "Drawing/WCanvas.h"
#include "Pivot/Columns/XPivotColumn.h"
#include "WPlatform.h"

#include <cstdint>
#include <string>
#include <vector>

/// The largest number of groups with a colour of their own; all others share one.
constexpr std::size_t kMostPlotGroups = 7;

/// A column to plot along an axis.
struct XPlotColumn
{
    const XPivotColumn& column;
    bool isLogarithmic;
};

struct XPlotGroup
{
    std::string name; ///< UTF-8.
    WColour colour;
    std::uint64_t count = 0;
};

/// The rows that can be drawn, in the order of the table.
struct XPlotData
{
    std::vector<std::vector<double>> numbers; ///< For each column the numbers of all rows.
    std::vector<std::uint32_t> groupOfRow;
    std::vector<XPlotGroup> groups; ///< At least one, unless there are no rows.
    std::uint64_t leftOut = 0;      ///< Rows that lack a number that can be drawn.
};

/// Reads that many rows of columns of one table. Without `inGroups` all are in one group without a name; with it, those
/// of equal text in that column are, in the order of the column's values: missing ones and NaN first. Of more than
/// kMostPlotGroups groups the largest stay.
KORVALE_IMAGING_API XPlotData XReadPlotData(
    std::uint32_t inRowCount, const std::vector<XPlotColumn>& inColumns, const XPivotColumn* inGroups );
