#pragma once

#include "WPlatform.h"

#include <cstdint>
#include <string>
#include <vector>

/// The range of an axis.
struct KORVALE_IMAGING_API XAxisRange
{
    double low = 0;
    double high = 1;
    bool isLogarithmic = false; ///< both ends are then greater than 0
    bool isWhole = false;       ///< the axis has whole numbers only

    /// The relative position of a number: 0 at `low`, 1 at `high`.
    double GetShare( double inNumber ) const;
};

/// Limits of numbers that can be drawn: the largest magnitude, and the smallest number on logarithmic axes.
constexpr double kGreatestNumber = 1e280;
constexpr double kLeastLogarithmicNumber = 1e-250;

/// A range that includes both numbers with a margin on either side, wide enough for distinct ticks.
KORVALE_IMAGING_API XAxisRange XMakeAxisRange( double inLeast, double inGreatest, bool inIsLogarithmic );

/// A label with an optional superscript exponent: 10 and 3.
struct XPowerText
{
    std::string text;
    std::string exponent;

    bool operator==( const XPowerText& ) const = default;
};

struct XAxisTick
{
    double number;
    XPowerText label;
};

/// The ticks of an axis. Labels are UTF-8 and do not depend on the locale.
struct XAxisTicks
{
    std::vector<XAxisTick> ticks;
    std::vector<double> minorTicks;
    int exponent = 0; ///< labels are multiples of this power of ten
};

/// The finest ticks at multiples of 1, 2 or 5 times a power of ten with at most `inMost` ticks, and with at
/// least two unless a range of whole numbers has fewer. Logarithmic ranges have ticks at powers of ten and,
/// if these are too few, at 2 and 5 times these.
KORVALE_IMAGING_API XAxisTicks XMakeTicks( const XAxisRange& inRange, std::uint32_t inMost );
