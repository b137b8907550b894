#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// The largest number of bins that is chosen automatically.
constexpr std::uint32_t kMostBins = 200;

/// The bin limits of a histogram of at least one number, ascending: bin i is [limit i, limit i + 1), the last bin
/// includes its upper limit. There is at least one bin.
///
/// The bin width follows Freedman and Diaconis (1981): twice the interquartile range over the cube root of
/// the count; if that is 0, Scott (1979): 3.49 standard deviations over the cube root of the count. For whole
/// numbers, bins have a whole width and limits between the numbers. `inCount` sets the number of bins
/// instead; for whole numbers there may be fewer.
KORVALE_IMAGING_API std::vector<double>
XMakeBinLimits( std::span<const double> inNumbers, std::optional<std::uint32_t> inCount = std::nullopt );

/// The number of values in each bin; no value may be outside all bins.
KORVALE_IMAGING_API std::vector<std::uint64_t>
XCountInBins( std::span<const double> inNumbers, std::span<const double> inLimits );
