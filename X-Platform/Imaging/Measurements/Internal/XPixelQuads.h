#pragma once

#include "Imaging/Objects/XLabelledObjects.h"

#include <array>
#include <cstdint>
#include <span>

/// How often each pattern of 2 x 2 pixels occurs in an object and around it. Perimeter and topology are sums over them.
class XPixelQuads
{
public:
    /// The runs of one object in raster order.
    explicit XPixelQuads( std::span<const XPixelRun> inRuns );

    /// The perimeter by the formula of Crofton: from the numbers of lines in four directions that enter the object.
    double GetCroftonPerimeter() const;

    /// The number of parts, connected by edges or corners, minus the number of holes.
    std::int64_t GetEulerNumber() const;

private:
    // By bits: 1 lower right, 2 upper right, 4 lower left, 8 upper left pixel.
    std::array<std::int64_t, 16> itsCounts{};

    void AddRows( std::span<const XPixelRun> inUpper, std::span<const XPixelRun> inLower );
};
