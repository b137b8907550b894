#pragma once

#include "Plots/XOverlaySketch.h"
#include "WPlatform.h"

#include <string>

/// Draws the contours and numbers of the objects over the picture of their page. A small picture is enlarged first. Where
/// numbers would overlap, those of smaller objects are left out. Returns the bytes of a PNG file.
KORVALE_IMAGING_API std::string XDrawOverlay( const XOverlaySketch& inSketch );
