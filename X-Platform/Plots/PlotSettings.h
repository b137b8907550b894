#pragma once

#include "Drawing/PlotFrame.h"
#include "Plots/PlotData.h"
#include "WPlatform.h"

#include <cstdint>
#include <optional>
#include <string>

/// How a plot is to look. Lengths are in points, text is UTF-8.
struct PlotSettings
{
    double width = 0;
    double height = 0;
    std::string title;
    std::optional<std::string> groupTitle; ///< Of the column that gave the groups, if there are any.
    bool isLogarithmicX = false;
    bool isLogarithmicY = false;
    std::optional<std::uint32_t> bins;
};

/// What is alike in all plots of the data: title, number of rows and legend.
KORVALE_IMAGING_API PlotDescription DescribePlot( const PlotData& inData, const PlotSettings& inSettings );
