#include "Imaging/Measurements/Internal/XPixelQuads.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>

namespace
{
constexpr auto kNone = std::numeric_limits<std::uint32_t>::max();

/// The ends of a row's runs, from left to right.
class Ends
{
public:
    explicit Ends( std::span<const XPixelRun> inRuns ) : itsRuns( inRuns ) {}

    bool IsInside() const { return itsPlace % 2 == 1; }

    /// The first column behind the next end; kNone if there is none.
    std::uint32_t GetNext() const
    {
        if ( itsPlace / 2 >= itsRuns.size() )
            return kNone;
        const auto& run = itsRuns[itsPlace / 2];
        return IsInside() ? run.end : run.first;
    }

    void PassIf( std::uint32_t inColumn )
    {
        if ( GetNext() == inColumn && inColumn != kNone )
            ++itsPlace;
    }

private:
    std::span<const XPixelRun> itsRuns;
    std::size_t itsPlace = 0;
};
} // namespace

XPixelQuads::XPixelQuads( std::span<const XPixelRun> inRuns )
{
    std::span<const XPixelRun> upper;
    for ( std::size_t first = 0; first < inRuns.size(); )
    {
        auto end = first;
        while ( end < inRuns.size() && inRuns[end].row == inRuns[first].row )
            ++end;
        const auto row = inRuns.subspan( first, end - first );
        if ( !upper.empty() && upper.front().row + 1 != row.front().row )
        {
            AddRows( upper, {} );
            upper = {};
        }
        AddRows( upper, row );
        upper = row;
        first = end;
    }
    AddRows( upper, {} );
}

/// Counts the patterns whose pixels are in both rows.
void XPixelQuads::AddRows( std::span<const XPixelRun> inUpper, std::span<const XPixelRun> inLower )
{
    Ends upper( inUpper ), lower( inLower );
    std::uint32_t previous = 0;
    while ( true )
    {
        const auto column = std::min( upper.GetNext(), lower.GetNext() );
        if ( column == kNone )
            return;
        const auto left = ( upper.IsInside() ? 8u : 0u ) | ( lower.IsInside() ? 4u : 0u );
        // Between two ends both columns are alike.
        if ( left != 0 )
            itsCounts[left | left >> 2] += column - previous - 1;
        upper.PassIf( column );
        lower.PassIf( column );
        ++itsCounts[left | ( upper.IsInside() ? 2u : 0u ) | ( lower.IsInside() ? 1u : 0u )];
        previous = column;
    }
}

double XPixelQuads::GetCroftonPerimeter() const
{
    // A pattern counts once for each direction in which a line through it enters the object.
    const auto& n = itsCounts;
    const auto straight = static_cast<double>( n[1] + n[5] + n[8] + n[12] + 2 * ( n[9] + n[13] ) );
    const auto diagonal = static_cast<double>( n[1] + n[2] + n[5] + n[7] + n[10] + n[11] + 2 * n[3] );
    return std::numbers::pi / 4 * ( straight + diagonal / std::numbers::sqrt2 );
}

std::int64_t XPixelQuads::GetEulerNumber() const
{
    return itsCounts[8] - itsCounts[6] - itsCounts[14];
}
