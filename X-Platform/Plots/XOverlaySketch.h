#pragma once

#include "Drawing/WCanvas.h"
#include "Imaging/Measurements/XPageMeasurement.h"
#include "WPlatform.h"

#include <cstdint>
#include <vector>

/// Objects drawn in one colour and numbered consecutively from `firstNumber`.
struct XOverlayObjects
{
    XLabelledObjects objects;
    WColour colour;
    std::uint64_t firstNumber = 1;
};

/// The data of a page that its overlay needs.
struct KORVALE_IMAGING_API XOverlaySketch
{
    std::uint32_t width = 0; ///< of the page
    std::uint32_t height = 0;
    WGreyPicture picture;
    std::uint32_t reduction = 1; ///< pixels of the page per pixel of the picture, in both directions
    std::vector<XOverlayObjects> objects;

    /// Numbers the objects consecutively from `inFirst`.
    void SetNumbers( std::uint64_t inFirst );
};

/// Makes a greyscale picture of the page, reduced if it is very large, with its objects and, in a second
/// colour, their child objects. It shows the channel of the objects and, inside them, that of the child
/// objects, with separate contrast.
KORVALE_IMAGING_API XOverlaySketch
XSketchOverlay( const WImagePage& inPage, const XMeasureSettings& inSettings, XPageObjects inObjects );
