#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

/// The largest radius of a median, in pixels; the smallest is 1.
constexpr std::uint32_t kXMostMedianRadius = 100;

/// The median of each disc, which is the pixels whose distance from a pixel is at most `inRadius`; outside the
/// page the samples of the border are repeated. A page of one channel of the same sample type, which must not
/// contain NaN. Throws 1013 for a radius outside the range; an abort throws 1001.
KORVALE_IMAGING_API WImagePage
XFilterMedian( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inRadius );
