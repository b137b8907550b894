#pragma once

#include "Imaging/ConnectedComponents.h"
#include "WPlatform.h"

#include <optional>

/// Which pixels make up objects.
struct ObjectSettings
{
    std::uint32_t channel = 0;       ///< The channel to threshold.
    std::optional<double> threshold; ///< None: Otsu's.
    std::uint64_t leastPixels = 1;
};

/// Objects that lie inside others.
struct ChildObjects
{
    LabelledObjects found;
    std::vector<std::uint32_t> parents; ///< Of each one: the index of the object that it lies in.
};

/// Finds, inside every object, the connected components of those of its pixels that are greater than the threshold;
/// Otsu's is taken over the pixels of each object. They are numbered in raster order of their first pixel, whatever
/// objects they lie in. The connectivity is the one by which the objects were found.
KORVALE_IMAGING_API ChildObjects FindChildObjects(
    const WImagePage& inPage, const LabelledObjects& inObjects, const ObjectSettings& inSettings,
    Connectivity inConnectivity );
