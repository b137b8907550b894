#pragma once

#include "Images/WImageFile.h"
#include "Imaging/Objects/XLabelledObjects.h"
#include "WPlatform.h"

#include <cstdint>

class XPixelMask;

/// Which pixels are neighbours: those that share an edge, or those that share an edge or a corner.
enum class XConnectivity
{
    kEdges = 4,
    kEdgesAndCorners = 8
};

/// The connected components of the set pixels. Components of fewer than `inLeastPixels` pixels are ignored.
/// An abort throws 1001.
KORVALE_IMAGING_API XLabelledObjects XFindConnectedComponents(
    const XPixelMask& inMask, XConnectivity inConnectivity, std::uint64_t inLeastPixels = 1 );

/// The connected components of the set pixels inside each object: pixels of different objects are not joined, even where
/// the objects touch. Set pixels outside all objects are ignored, and so are components of fewer than `inLeastPixels`
/// pixels. An abort throws 1001.
KORVALE_IMAGING_API XLabelledObjects XFindComponentsInside(
    const XPixelMask& inMask, const XLabelledObjects& inOuter, XConnectivity inConnectivity,
    std::uint64_t inLeastPixels = 1 );

/// The connected components of the pixels whose sample in channel `inChannel` (counted from 0) is greater than the
/// threshold.
KORVALE_IMAGING_API XLabelledObjects XFindObjects(
    const WImagePage& inPage, std::uint32_t inChannel, double inThreshold, XConnectivity inConnectivity,
    std::uint64_t inLeastPixels = 1 );
