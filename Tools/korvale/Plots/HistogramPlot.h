#pragma once

#include "Plots/PlotSettings.h"

/// Draws how many rows have a number in which bin, group by group; the numbers are those of the first column. There are
/// rows.
void DrawHistogram(
    const PlotData& inData, const std::string& inTitle, const PlotSettings& inSettings, WCanvas& ioCanvas );
