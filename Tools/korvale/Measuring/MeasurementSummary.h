#pragma once

#include "Imaging/XMeasurementTable.h"

#include <ostream>

/// Prints, for each image and for all of them, the number of objects and the mean, standard deviation, minimum and
/// maximum of their pixel count and of their mean intensity in a channel. The table is the one of these images;
/// it is given up, so that its memory can be used for this.
void PrintSummary(
    const std::vector<XImageMeasurement>& inImages, XPivotTable inTable, std::uint32_t inChannel,
    std::ostream& ioOut );
