#pragma once

#include "Drawing/WCanvas.h"
#include "Images/WImageFile.h"
#include "WPlatform.h"

/// One channel of a page as grey levels from black to white, stretched so that one in a thousand of its samples is black
/// or darker and another white or brighter. A page of one value is grey. Every `inReduction` pixels in both directions
/// become one, their mean; NaN is black.
KORVALE_IMAGING_API WGreyPicture
MakeGreyscalePreview( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inReduction );

/// Every pixel becomes a square of that many pixels a side.
KORVALE_IMAGING_API WGreyPicture Enlarge( const WGreyPicture& inPicture, std::uint32_t inFactor );
