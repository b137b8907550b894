#pragma once

#include "Images/WImageFile.h"
#include "Imaging/Objects/XConnectedComponents.h"
#include "WPlatform.h"

#include <cstdint>

/// By what touching objects are separated.
enum class XSplitMethod : std::uint8_t
{
    kNone,
    kDistance, ///< where objects are narrow: XSplitByDistance
    kIntensity ///< where they are dark: XSplitByIntensity
};

struct KORVALE_IMAGING_API XSplitSettings
{
    XSplitMethod method = XSplitMethod::kNone;
    double depth = 0.75; ///< kDistance: XSplitByDistance
    double sigma = 2;    ///< kIntensity: the sigma of the Gaussian that smooths the samples first, in pixels
};

/// Divides connected components into parts, one for each maximum of the distance from the background (XGetDistances) that
/// rises at least `inDepth` pixels above the highest pass to a higher maximum. Of equal maxima the first in raster order
/// counts as the higher one. Each other pixel of a component belongs to the part that reaches it first when the
/// component is flooded from these maxima: pixels are visited in descending order of distance, equal ones in the order
/// in which they were reached, and each visited pixel reaches its neighbours at edges in raster order, then those at
/// corners. No pixel is lost to dividing lines. The components must be those of a mask, with that connectivity; `inPage` has their page's size.
/// Takes 8 bytes per pixel of the page, and up to 4.5 per pixel of the largest component. Throws 1013 if the depth is not a
/// number from 0, and 1012 for pages of about 2^32 pixels; an abort throws 1001.
KORVALE_IMAGING_API XLabelledObjects XSplitByDistance(
    const XLabelledObjects& inComponents, const WImageFormat& inPage, XConnectivity inConnectivity,
    double inDepth );

/// The same by the samples of a page of one channel of floats, none of them NaN: one part for each of its maxima.
KORVALE_IMAGING_API XLabelledObjects XSplitByIntensity(
    const XLabelledObjects& inComponents, const WImagePage& inPage, XConnectivity inConnectivity );
