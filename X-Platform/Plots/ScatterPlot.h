#pragma once

#include "Plots/PlotSettings.h"
#include "WPlatform.h"

/// Draws a scatter plot: x is the first column of the data, y the second. There is at least one row.
KORVALE_IMAGING_API void DrawScatterPlot(
    const PlotData& inData, const std::string& inTitleX, const std::string& inTitleY,
    const PlotSettings& inSettings, WCanvas& ioCanvas );
