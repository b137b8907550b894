#pragma once

#include "Plots/XPlotSettings.h"
#include "WPlatform.h"

/// Draws a histogram of the first column of the data, the bars of the groups over one another. There is at least one row.
KORVALE_IMAGING_API void XDrawHistogram(
    const XPlotData& inData, const std::string& inTitle, const XPlotSettings& inSettings, WCanvas& ioCanvas );
