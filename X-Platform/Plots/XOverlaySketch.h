#pragma once

#include "Drawing/WCanvas.h"
#include "Imaging/XPageMeasurement.h"
#include "WPlatform.h"

#include <cstdint>
#include <vector>

/// Objects that are drawn in one colour and numbered consecutively from `firstNumber`.
struct XOverlayObjects
{
    XLabelledObjects found;
    WColour colour;
    std::uint64_t firstNumber = 1;
};

/// All that is needed of a page to draw its overlay.
struct KORVALE_IMAGING_API XOverlaySketch
{
    WGreyPicture picture;
    std::uint32_t reduction = 1; ///< Pixels of the page per pixel of the picture, in both directions.
    std::vector<XOverlayObjects> objects;

    /// Numbers the objects consecutively from `inFirst`.
    void SetNumbers( std::uint64_t inFirst );
};

/// A greyscale picture of the page, reduced when it is very large, with its objects and, in a second colour, their child
/// objects. It shows the channel of the objects and, within them, that of the child objects, with separate contrast.
KORVALE_IMAGING_API XOverlaySketch
XSketchOverlay( const WImagePage& inPage, const XMeasureSettings& inSettings, XPageObjects inObjects );
