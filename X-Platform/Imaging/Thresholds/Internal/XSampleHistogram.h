#pragma once

#include "Images/WImageFile.h"

#include <cstdint>
#include <span>
#include <vector>

/// How many finite samples of a channel lie on which level. Integers have one level for each value. Floats have
/// 256 bins of equal width between the smallest and the largest finite sample, with the edges in the precision of
/// the samples.
class XSampleHistogram
{
public:
    struct XLevel
    {
        std::uint64_t level = 0;
        std::uint64_t count = 0;
    };

    /// An abort throws 1001.
    XSampleHistogram( const WImagePage& inPage, std::uint32_t inChannel );
    explicit XSampleHistogram( std::span<const std::uint8_t> inSamples );
    explicit XSampleHistogram( std::span<const std::uint16_t> inSamples );
    explicit XSampleHistogram( std::span<const float> inSamples );

    /// The levels that have samples, in ascending order; at most one if all finite samples are equal.
    const std::vector<XLevel>& GetLevels() const { return itsLevels; }

    /// The value of a level, or the centre of a bin.
    double GetCentre( std::uint64_t inLevel ) const;

    /// The threshold above the lower of two classes: the centre of its highest level, for floats rounded to the
    /// precision of the samples, which are compared with it.
    double GetThreshold( std::uint64_t inLevel ) const;

    /// The width of a level.
    double GetWidth() const { return itsEdges.empty() ? 1 : GetCentre( 1 ) - GetCentre( 0 ); }

    /// The counts of the levels from the lowest to the highest one, those without samples included.
    std::vector<std::uint64_t> GetCounts() const;

private:
    std::vector<XLevel> itsLevels;
    std::vector<float> itsEdges; // of the bins; empty for integers

    template<class T>
    void Count( const T* inSamples, std::uint64_t inPixels, std::uint32_t inStride );
    void Count( const float* inSamples, std::uint64_t inPixels, std::uint32_t inStride );
};
