#pragma once

#include "Drawing/WCanvas.h"
#include "Imaging/PageMeasurement.h"
#include "WPlatform.h"

#include <cstdint>
#include <vector>

/// Objects that are drawn in one colour, the first with that number and the others with the following ones.
struct OverlayObjects
{
    LabelledObjects found;
    WColour colour;
    std::uint64_t firstNumber = 1;
};

/// All that is needed of a page to draw what was found on it.
struct KORVALE_IMAGING_API OverlaySketch
{
    WGreyPicture picture;
    std::uint32_t reduction = 1; ///< So many pixels of the page are one of the picture, in both directions.
    std::vector<OverlayObjects> objects;

    /// The first object gets that number; the objects are numbered through in their order.
    void SetNumbers( std::uint64_t inFirst );
};

/// The page in grey, reduced when it is very large, with its objects and, in a second colour, those inside them. It shows
/// the channel of the objects and, within them, that of the objects inside, each stretched by itself.
KORVALE_IMAGING_API OverlaySketch
SketchOverlay( const WImagePage& inPage, const MeasureSettings& inSettings, PageObjects inObjects );
