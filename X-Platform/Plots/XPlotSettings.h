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
    std::optional<std::string> groupTitle; ///< of the column that defines the groups, if any
    bool isLogarithmicX = false;
    bool isLogarithmicY = false;
    std::optional<std::uint32_t> bins;
};

/// The parts of a description common to all plots of the data: title, number of rows and legend.
KORVALE_IMAGING_API XPlotDescription
XDescribePlot( const XPlotData& inData, const XPlotSettings& inSettings );
