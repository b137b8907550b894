#pragma once

#include "Drawing/WCanvas.h"
#include "WPlatform.h"

#include <optional>
#include <vector>

struct Box
{
    double left;
    double top;
    double right;
    double bottom;

    double GetWidth() const { return right - left; }
    double GetHeight() const { return bottom - top; }
};

/// The number of an object: where the object lies and how large the number is.
struct ObjectNumber
{
    Box object;
    WPoint centre; ///< Of the object.
    double width;
    double height;
};

/// Where the numbers go, so that they lie neither on one another nor outside a picture of that size: the centre of each.
/// One that fits into its object lies at the object's centre or next to that, any other beside it; one that finds no
/// place has none. Larger objects go first.
KORVALE_IMAGING_API std::vector<std::optional<WPoint>>
PlaceLabels( const std::vector<ObjectNumber>& inNumbers, double inWidth, double inHeight );
