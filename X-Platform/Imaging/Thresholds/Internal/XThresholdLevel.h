#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

/// A threshold converted to the type of the samples, for comparisons without conversion.
template<class T>
struct XThresholdLevel
{
    bool takesAll; ///< for integers: the threshold is below all values
    T level;       ///< otherwise, samples greater than this are above the threshold

    explicit XThresholdLevel( double inThreshold )
    {
        const double highest = std::numeric_limits<T>::max();
        takesAll = inThreshold < 0;
        level = static_cast<T>( std::floor( std::clamp( inThreshold, 0.0, highest ) ) );
    }

    bool IsAboveThreshold( T inSample ) const { return takesAll || inSample > level; }
};

template<>
inline XThresholdLevel<float>::XThresholdLevel( double inThreshold ) : takesAll( false )
{
    // The largest float that is not greater than the threshold separates the same samples.
    constexpr double kHighest = std::numeric_limits<float>::max();
    level = std::isinf( inThreshold ) ? static_cast<float>( inThreshold )
                                      : static_cast<float>( std::clamp( inThreshold, -kHighest, kHighest ) );
    if ( double{ level } > inThreshold )
        level = std::nextafter( level, -std::numeric_limits<float>::infinity() );
}
