#pragma once

#include "Imaging/Objects/XConnectedComponents.h"
#include "WPlatform.h"

#include <optional>

/// How objects are segmented.
struct XObjectSettings
{
    std::uint32_t channel = 0; ///< the channel to threshold
    /// Pixels above it belong to objects; without a value, Otsu's threshold.
    std::optional<double> threshold;
    std::uint64_t leastPixels = 1; ///< smaller objects are ignored
};

/// Objects inside other objects.
struct XChildObjects
{
    XLabelledObjects objects;
    std::vector<std::uint32_t> parents; ///< for each object the index of the object that contains it
};

/// Finds, inside every object, the connected components of its pixels above the threshold. Otsu's threshold
/// is computed per object. The components are numbered in raster order of their first pixel, regardless of
/// their parent. `inConnectivity` must be the one used to find the objects. An abort throws 1001.
KORVALE_IMAGING_API XChildObjects XFindChildObjects(
    const WImagePage& inPage, const XLabelledObjects& inObjects, const XObjectSettings& inSettings,
    XConnectivity inConnectivity );
