#pragma once

#include "Plots/PlotSettings.h"
#include "WPlatform.h"

/// Draws a histogram of the first column of the data, the bars of the groups over one another. There is at least one row.
KORVALE_IMAGING_API void DrawHistogram(
    const PlotData& inData, const std::string& inTitle, const PlotSettings& inSettings, WCanvas& ioCanvas );
