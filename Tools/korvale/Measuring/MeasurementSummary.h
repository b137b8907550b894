#pragma once

#include "Imaging/MeasurementTable.h"

#include <ostream>

/// Prints, for each image and for all of them, the number of objects and the mean, standard deviation, minimum and
/// maximum of their pixel count and of their mean intensity in a channel. The table is the one of these images.
void PrintSummary(
    const std::vector<ImageMeasurement>& inImages, const XPivotTable& inTable, std::uint32_t inChannel,
    std::ostream& ioOut );
