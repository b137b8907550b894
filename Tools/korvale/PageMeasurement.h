#pragma once

#include "ObjectFinder.h"
#include "WImageFile.h"

#include <cstdint>
#include <optional>
#include <vector>

/// How the objects of a page are found.
struct MeasureSettings
{
    std::uint32_t channel = 0;       ///< The channel whose samples are held against the threshold.
    std::optional<double> threshold; ///< None: Otsu's, page by page.
    Connectivity connectivity = Connectivity::kEdgesAndCorners;
    std::uint64_t leastPixels = 1;
};

/// The samples of one object in one channel.
struct ChannelStatistics
{
    double min = 0;
    double max = 0;
    double mean = 0;
    double standardDeviation = 0; ///< Of the population.
    double sum = 0;
};

/// What a page gives: small beside the page, and independent of all other pages.
struct PageMeasurement
{
    std::uint32_t channels = 0;
    double pixelWidth = 0; ///< As of WImagePage.
    double pixelHeight = 0;
    double threshold = 0;
    std::vector<ObjectShape> shapes;
    std::vector<ChannelStatistics> statistics; ///< Object after object, the channels of each in order.

    bool HasResolution() const { return pixelWidth > 0 && pixelHeight > 0; }
};

/// Finds and measures the objects of a page. Depends on nothing but its arguments, so pages may be measured on any
/// threads in any order. Throws WImageError when the page has not got the channel.
PageMeasurement MeasurePage( const WImagePage& inPage, const MeasureSettings& inSettings );
