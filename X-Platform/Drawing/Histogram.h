#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

/// The most bins that a histogram is given by itself.
constexpr std::uint32_t kMostBins = 200;

/// The limits of the bins for some numbers, ascending: bin i reaches from limit i up to limit i + 1, which only the last
/// bin holds too. There is one bin at least, and there are numbers.
///
/// Their width is the rule of Freedman and Diaconis: twice the distance of the quartiles over the cube root of the
/// count; where the quartiles are one, Scott's: 3.49 standard deviations over the cube root. Whole numbers get bins
/// of a whole width whose limits lie between them. `inCount` asks for so many bins instead, which whole numbers may
/// fall short of.
KORVALE_IMAGING_API std::vector<double>
MakeBinLimits( std::span<const double> inNumbers, std::optional<std::uint32_t> inCount = std::nullopt );

/// How many of the numbers are in each bin. None lies outside.
KORVALE_IMAGING_API std::vector<std::uint64_t>
CountInBins( std::span<const double> inNumbers, std::span<const double> inLimits );
