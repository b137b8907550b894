#pragma once

#include "Drawing/XPlotFrame.h"
#include "Plots/XPlotData.h"
#include "WPlatform.h"

#include <cstdint>
#include <optional>
#include <string>

/// Size, titles and scales of a plot. Lengths are in points, text is UTF-8.
struct XPlotSettings
{
    double width = 0;
    double height = 0;
    std::string title;
    std::optional<std::string> groupTitle; ///< Of the column that gave the groups, if there are any.
    bool isLogarithmicX = false;
    bool isLogarithmicY = false;
    std::optional<std::uint32_t> bins;
};

/// The parts of a description that all plots of the data share: title, number of rows and legend.
KORVALE_IMAGING_API XPlotDescription
XDescribePlot( const XPlotData& inData, const XPlotSettings& inSettings );
