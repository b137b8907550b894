#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

/// The largest sigma of the following functions, in pixels; the smallest is above 0.
constexpr double kXMostSigma = 500;

/// The channel smoothed by a Gaussian of `inSigma` pixels, truncated at four sigma, with the samples of the
/// border repeated outside: a page of one channel of floats. Throws 1013 for a sigma outside the range;
/// an abort throws 1001.
KORVALE_IMAGING_API WImagePage
XSmoothChannel( const WImagePage& inPage, std::uint32_t inChannel, double inSigma );

/// The channel divided by the result of XSmoothChannel, to remove uneven illumination: a page of one channel
/// of floats around 1. Pixels whose surroundings are 0 become 0.
KORVALE_IMAGING_API WImagePage
XFlattenChannel( const WImagePage& inPage, std::uint32_t inChannel, double inSigma );
