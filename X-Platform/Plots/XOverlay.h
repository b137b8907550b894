#pragma once

#include "Plots/XOverlaySketch.h"
#include "WPlatform.h"

#include <string>

/// Draws the contours and numbers of the objects over the picture of their page, and returns the bytes of a
/// PNG file. Small pictures are enlarged. If numbers would overlap, those of smaller objects are omitted.
KORVALE_IMAGING_API std::string XDrawOverlay( const XOverlaySketch& inSketch );
