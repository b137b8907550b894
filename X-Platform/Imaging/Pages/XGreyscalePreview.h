#pragma once

#include "Drawing/WCanvas.h"
#include "Images/WImageFile.h"
#include "WPlatform.h"

/// One channel of a page as 8-bit grey levels with stretched contrast: the darkest and the brightest
/// thousandth of the samples become black and white. A page of a single value is mid-grey, NaN is black.
/// Squares of `inReduction` by `inReduction` pixels are averaged into one pixel. An abort throws 1001.
KORVALE_IMAGING_API WGreyPicture
XMakeGreyscalePreview( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inReduction );

/// Enlarges a picture: every pixel becomes a square of `inFactor` by `inFactor` pixels.
KORVALE_IMAGING_API WGreyPicture XEnlargePicture( const WGreyPicture& inPicture, std::uint32_t inFactor );
