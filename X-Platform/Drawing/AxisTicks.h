#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <string>
#include <vector>

/// The numbers along an axis, from `low` up to `high`.
struct KORVALE_IMAGING_API AxisRange
{
    double low = 0;
    double high = 1;
    bool isLogarithmic = false; ///< Then both are greater than 0.
    bool isWhole = false;       ///< There is nothing between whole numbers.

    /// Where a number lies: 0 at the low end, 1 at the high one.
    double GetShare( double inNumber ) const;
};

/// Numbers that are farther away from 0 cannot be drawn, nor smaller ones on logarithmic axes.
constexpr double kGreatestNumber = 1e280;
constexpr double kLeastLogarithmicNumber = 1e-250;

/// A range from the least to the greatest number, and some more on either side so that nothing touches the ends.
/// Never so narrow that its ticks could not be told apart.
KORVALE_IMAGING_API AxisRange MakeAxisRange( double inLeast, double inGreatest, bool inIsLogarithmic );

/// A label with a raised exponent behind it, where it has one: 10 and 3.
struct PowerText
{
    std::string text;
    std::string exponent;

    bool operator==( const PowerText& ) const = default;
};

struct AxisTick
{
    double number;
    PowerText label;
};

/// Labels are UTF-8 and do not depend on the locale.
struct AxisTicks
{
    std::vector<AxisTick> ticks;
    std::vector<double> minorTicks;
    int exponent = 0; ///< Of the power of ten that the labels are to be multiplied with.
};

/// The finest ticks of which there are at most so many, at multiples of 1, 2 or 5 times a power of ten. Where those
/// would be fewer than two, there are some more, unless there are no more whole numbers.
/// Logarithmic ranges have them at powers of ten and, where that gives too few, at 2 and 5 times those.
KORVALE_IMAGING_API AxisTicks MakeTicks( const AxisRange& inRange, std::uint32_t inMost );
