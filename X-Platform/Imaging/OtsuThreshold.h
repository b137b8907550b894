#pragma once

#include "Images/WImageFile.h"
#include "WPlatform.h"

#include <cstdint>
#include <span>

/// Otsu's level of one channel of a page: the one that maximises the variance between the samples up to it and those
/// above, the lowest such level on ties.
///
/// Whole numbers have a bin for each level from the smallest to the largest, and their ties are exact. Float samples
/// have 256 equal bins between the smallest and the largest finite one, and the level is the bin's centre. Where all
/// samples are equal it is their value, where no sample is finite it is infinity: nothing lies above either.
KORVALE_IMAGING_API double GetOtsuThreshold( const WImagePage& inPage, std::uint32_t inChannel );

/// The same of one sample or more.
KORVALE_IMAGING_API double GetOtsuThreshold( std::span<const std::uint8_t> inSamples );
KORVALE_IMAGING_API double GetOtsuThreshold( std::span<const std::uint16_t> inSamples );
KORVALE_IMAGING_API double GetOtsuThreshold( std::span<const float> inSamples );
