#pragma once

#include "Imaging/Measurements/XPageMeasurement.h"
#include "Imaging/XImageStructure.h"

#include <string>

/// Channels given by name, which may have other numbers in each series; empty: by the number in the settings.
struct ChannelNames
{
    std::string objects;
    std::string children;

    /// The settings with the channels of a series that are given by name. Throws WImageError if the series lacks one.
    XMeasureSettings Apply( const XMeasureSettings& inSettings, const XImageSeries& inSeries ) const;
};
