#pragma once

#include "Plots/XPlotSettings.h"
#include "WPlatform.h"

/// Draws a histogram of the first column of the data, with the bars of the groups overlaid, the first group
/// on top. There must be at least one row.
KORVALE_IMAGING_API void XDrawHistogram(
    const XPlotData& inData, const std::string& inTitle, const XPlotSettings& inSettings, WCanvas& ioCanvas );
