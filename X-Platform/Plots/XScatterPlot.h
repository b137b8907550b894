#pragma once

#include "Plots/XPlotSettings.h"
#include "WPlatform.h"

/// Draws a scatter plot: x is the first column of the data, y the second. There must be at least one row.
KORVALE_IMAGING_API void XDrawScatterPlot(
    const XPlotData& inData, const std::string& inTitleX, const std::string& inTitleY,
    const XPlotSettings& inSettings, WCanvas& ioCanvas );
