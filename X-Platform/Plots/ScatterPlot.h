#pragma once

#include "Plots/PlotSettings.h"
#include "WPlatform.h"

/// Draws a point for each row: across the number of the first column, upwards that of the second. There are rows.
KORVALE_IMAGING_API void DrawScatterPlot(
    const PlotData& inData, const std::string& inTitleX, const std::string& inTitleY,
    const PlotSettings& inSettings, WCanvas& ioCanvas );
