#pragma once

#include "Imaging/Measurements/XMeasurementTable.h"

#include <ostream>

/// Prints, for each image and for all of them, the number of objects and the mean, standard deviation,
/// minimum and maximum of their pixel count and of their mean intensity in a channel. `inTable` is the table
/// of these images; it is destroyed on the way to make room.
void PrintSummary(
    const std::vector<XImageMeasurement>& inImages, XPivotTable inTable, std::uint32_t inChannel,
    std::ostream& ioOut );
