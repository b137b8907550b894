#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

/// The largest radius of the following functions, in pixels; the smallest is 1.
constexpr std::uint32_t kXMostDiscRadius = 500;

/// Functions on discs: the pixels whose distance from a pixel is at most `inRadius`. Only pixels of the page
/// count. Each results in a page of one channel of the same sample type, which must not contain NaN. Throws
/// 1013 for a radius outside the range; an abort throws 1001.

/// The smallest sample of each disc.
KORVALE_IMAGING_API WImagePage
XErodeChannel( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inRadius );

/// The largest sample of each disc.
KORVALE_IMAGING_API WImagePage
XDilateChannel( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inRadius );

/// The white top-hat: the channel minus its opening, which is the erosion followed by the dilation. It
/// removes a background that changes over more than the disc.
KORVALE_IMAGING_API WImagePage
XTopHatChannel( const WImagePage& inPage, std::uint32_t inChannel, std::uint32_t inRadius );
