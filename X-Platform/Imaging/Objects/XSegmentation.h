#pragma once

#include "Imaging/Filters/XChannelFilters.h"
#include "Imaging/Objects/XMaskMorphology.h"
#include "Imaging/Objects/XObjectSplitting.h"
#include "Imaging/Thresholds/XAutomaticThreshold.h"
#include "Imaging/Thresholds/XPixelMask.h"
#include "WPlatform.h"

#include <optional>

/// How the pixels of objects are chosen and divided.
struct XSegmentationSettings
{
    std::uint32_t channel = 0; ///< counted from 0
    XChannelFilters filters{}; ///< applied to the channel first
    /// Pixels above it belong to objects; without a value, `automatic`.
    std::optional<double> threshold{};
    XAutomaticThreshold automatic{};
    XMaskCleaning cleaning{}; ///< applied to the mask
    XSplitSettings split{};   ///< of connected components into objects
};

/// The pixels of objects.
struct XSegmentation
{
    XPixelMask mask;
    double threshold = 0;        ///< NaN if each pixel has a threshold of its own
    std::uint64_t nonFinite = 0; ///< samples that are infinite or NaN, which never belong to objects
    /// The filtered and smoothed channel, if objects are to be split by intensity.
    WImagePage splitSamples{};
};

/// Filters a channel, marks the pixels above the threshold and cleans the mask. The channel must exist. A mask of the
/// size of the page that is given, and not null, replaces the pixels above the threshold, which is NaN then. Throws the
/// errors of the filters and thresholds; an abort throws 1001.
KORVALE_IMAGING_API XSegmentation XSegmentPage(
    const WImagePage& inPage, const XSegmentationSettings& inSettings, const XPixelMask* inGiven = nullptr );

/// Divides the connected components of a segmentation's mask into objects, which may touch. Throws the errors of
/// XSplitByDistance.
KORVALE_IMAGING_API XLabelledObjects XSplitComponents(
    XLabelledObjects inComponents, const XSegmentation& inSegmentation, const XSplitSettings& inSettings,
    XConnectivity inConnectivity );
