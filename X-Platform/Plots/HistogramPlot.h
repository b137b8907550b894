#pragma once

#include "Plots/PlotSettings.h"
#include "WPlatform.h"

/// Draws how many rows have a number in which bin, group by group; the numbers are those of the first column. There are
/// rows.
KORVALE_IMAGING_API void DrawHistogram(
    const PlotData& inData, const std::string& inTitle, const PlotSettings& inSettings, WCanvas& ioCanvas );
