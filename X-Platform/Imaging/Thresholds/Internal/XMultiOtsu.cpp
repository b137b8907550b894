#include "Imaging/Thresholds/Internal/XHistogramThresholds.h"

#include "Jobs/XProgress.h"

#include <algorithm>

// The variance between classes is, except for constants, the sum over the classes of sum^2 / count. Dynamic
// programming adds one class at a time in front of the best division of the levels behind it. The first
// class's best end moves up with its first level, which divides the search: O(levels log levels) for each
// class, instead of levels^(classes - 1).
//
// Levels are counted from the lowest one, which counts as 1, like the next, as in scikit-image.

namespace
{
class Division
{
public:
    explicit Division( const std::vector<XSampleHistogram::XLevel>& inLevels )
        : itsCounts{ 0 }, itsSums{ 0 }, itsBest( inLevels.size() )
    {
        for ( const auto& [level, count] : inLevels )
        {
            const auto place = std::max<std::uint64_t>( level - inLevels.front().level, 1 );
            itsCounts.push_back( itsCounts.back() + static_cast<double>( count ) );
            itsSums.push_back( itsSums.back() + static_cast<double>( place * count ) );
        }
        for ( std::size_t first = 0; first < itsBest.size(); ++first )
            itsBest[first] = GetVariance( first, itsBest.size() - 1 );
    }

    /// Adds a class in front. Its last level is FindEnds()[first] if `first` is its first level.
    void AddClass()
    {
        const auto behind = itsBest;
        // A class behind needs a level for each of its classes.
        ++itsClasses;
        const auto last = itsBest.size() - itsClasses;
        std::vector<std::uint32_t> ends( itsBest.size() );
        Search( behind, ends, { 0, last, 0, last } );
        itsEnds.push_back( std::move( ends ) );
    }

    /// The last level of each class but the last one.
    std::vector<std::uint32_t> FindEnds() const
    {
        std::vector<std::uint32_t> ends;
        std::size_t first = 0;
        for ( auto layer = itsEnds.size(); layer-- > 0; first = ends.back() + 1 )
            ends.push_back( itsEnds[layer][first] );
        return ends;
    }

private:
    struct Range
    {
        std::size_t first; // of the first levels
        std::size_t last;
        std::size_t firstEnd; // the ends to be considered
        std::size_t lastEnd;
    };

    std::vector<double> itsCounts; // of the samples below each level
    std::vector<double> itsSums;
    std::vector<double> itsBest; // the variance of the levels from each one on
    std::vector<std::vector<std::uint32_t>> itsEnds;
    std::size_t itsClasses = 1;

    double GetVariance( std::size_t inFirst, std::size_t inLast ) const
    {
        const auto sum = itsSums[inLast + 1] - itsSums[inFirst];
        return sum * sum / ( itsCounts[inLast + 1] - itsCounts[inFirst] );
    }

    void Search( const std::vector<double>& inBehind, std::vector<std::uint32_t>& outEnds, Range inRange )
    {
        const auto middle = inRange.first + ( inRange.last - inRange.first ) / 2;
        double best = -1;
        std::size_t bestEnd = middle;
        for ( auto end = std::max( middle, inRange.firstEnd ); end <= inRange.lastEnd; ++end )
            if ( const auto variance = GetVariance( middle, end ) + inBehind[end + 1]; variance > best )
            {
                best = variance;
                bestEnd = end;
            }
        itsBest[middle] = best;
        outEnds[middle] = static_cast<std::uint32_t>( bestEnd );
        if ( middle > inRange.first )
            Search( inBehind, outEnds, { inRange.first, middle - 1, inRange.firstEnd, bestEnd } );
        if ( middle < inRange.last )
            Search( inBehind, outEnds, { middle + 1, inRange.last, bestEnd, inRange.lastEnd } );
    }
};
} // namespace

std::vector<std::uint64_t>
XFindMultiOtsuLevels( const XSampleHistogram& inHistogram, std::uint32_t inClasses )
{
    const auto& levels = inHistogram.GetLevels();
    const auto classes = std::min<std::size_t>( inClasses, levels.size() );
    XProgress progress( classes - 1 );
    Division division( levels );
    for ( std::size_t i = 1; i < classes; ++i )
    {
        division.AddClass();
        progress.Increment();
        progress.YieldAndCheckAbort();
    }
    std::vector<std::uint64_t> thresholds;
    for ( const auto end : division.FindEnds() )
        thresholds.push_back( levels[end].level );
    return thresholds;
}
