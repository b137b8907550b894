#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

#include <cstdint>
#include <span>

/// Otsu's threshold of one channel of a page (N. Otsu, 1979): the level that maximises the between-class variance, the
/// lowest one on ties. An abort throws 1001.
///
/// Integer samples use one histogram bin per level, and ties are exact. Float samples use 256 equal bins
/// between the smallest and the largest finite sample, and the threshold is the centre of a bin. If all
/// samples have the same value, the threshold is that value; without finite samples it is infinity. No sample
/// is above these.
KORVALE_IMAGING_API double XGetOtsuThreshold( const WImagePage& inPage, std::uint32_t inChannel );

/// Otsu's threshold of at least one sample.
KORVALE_IMAGING_API double XGetOtsuThreshold( std::span<const std::uint8_t> inSamples );
KORVALE_IMAGING_API double XGetOtsuThreshold( std::span<const std::uint16_t> inSamples );
KORVALE_IMAGING_API double XGetOtsuThreshold( std::span<const float> inSamples );
