#pragma once

#include "Drawing/WCanvas.h"
#include "Pivot/Columns/XPivotColumn.h"
#include "WPlatform.h"

#include <cstdint>
#include <string>
#include <vector>

/// The most groups with a colour of their own; the rows of any others are drawn together.
constexpr std::size_t kMostPlotGroups = 7;

/// A column whose numbers are places along an axis.
struct PlotColumn
{
    const XPivotColumn& column;
    bool isLogarithmic;
};

struct PlotGroup
{
    std::string name; ///< UTF-8.
    WColour colour;
    std::uint64_t count = 0;
};

/// The numbers of the rows that can be drawn, in the order of the table.
struct PlotData
{
    std::vector<std::vector<double>> numbers; ///< For each column those of all rows.
    std::vector<std::uint32_t> groupOfRow;
    std::vector<PlotGroup> groups; ///< One at least, unless there are no rows.
    std::uint64_t leftOut = 0;     ///< Rows without a number that can be drawn in each column.
};

/// Reads that many rows of columns of one table. Without `inGroups` all are in one group without a name; with it, those
/// of equal text in that column are, in the order of the column's values: missing ones and NaN first. Of more than
/// kMostPlotGroups groups the largest stay.
KORVALE_IMAGING_API PlotData ReadPlotData(
    std::uint32_t inRowCount, const std::vector<PlotColumn>& inColumns, const XPivotColumn* inGroups );
