#pragma once

#include "Drawing/WCanvas.h"
#include "WPlatform.h"

#include <optional>
#include <vector>

/// A rectangle in the coordinates of the picture.
struct XLabelBox
{
    double left;
    double top;
    double right;
    double bottom;

    double GetWidth() const { return right - left; }
    double GetHeight() const { return bottom - top; }
};

/// The label of an object: the bounds of the object and the size of the label.
struct XObjectLabel
{
    XLabelBox object;
    WPoint centre; ///< centre of the object
    double width;
    double height;
};

/// Places labels so that none overlaps another or leaves a picture of the given size. Returns the centre of
/// each label, or no value if there is no room. A label that fits into its object is placed at or near the
/// object's centre, others beside the object. Larger objects are placed first.
KORVALE_IMAGING_API std::vector<std::optional<WPoint>>
XPlaceLabels( const std::vector<XObjectLabel>& inLabels, double inWidth, double inHeight );
