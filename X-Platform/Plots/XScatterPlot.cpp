#include "Plots/XScatterPlot.h"

#include "Jobs/XChunks.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace
{
/// Points that are drawn as one disc.
struct Disc
{
    WPoint centre;
    std::uint32_t group;
    std::uint32_t count;
};

/// The more points there are, the smaller and the more transparent they are.
struct PointStyle
{
    double radius;
    double alpha;

    explicit PointStyle( std::size_t inCount )
    {
        const auto decades = std::log10( static_cast<double>( inCount ) );
        radius = std::clamp( 3.1 - 0.5 * decades, 0.6, 2.2 );
        alpha = std::clamp( 1.15 - 0.2 * decades, 0.15, 0.8 );
    }
};

/// Combines points in cells half as wide as a disc, so that there are no more discs than the plot has room
/// for.
class DiscGatherer
{
public:
    DiscGatherer( std::size_t inCount, double inRadius ) : itsCell( inCount > kMostSingle ? inRadius : 0 ) {}

    void Add( WPoint inPlace, std::uint32_t inGroup )
    {
        if ( itsCell == 0 )
            return itsDiscs.push_back( { inPlace, inGroup, 1 } );
        const auto x = static_cast<std::uint64_t>( inPlace.x / itsCell );
        const auto y = static_cast<std::uint64_t>( inPlace.y / itsCell );
        // Three bits for the group: the groups that are drawn and the others.
        const auto [found, isNew] = itsCells.try_emplace( ( x << 32 | y ) << 3 | inGroup, itsDiscs.size() );
        if ( isNew )
            itsDiscs.push_back( { inPlace, inGroup, 0 } );
        ++itsDiscs[found->second].count;
    }

    const std::vector<Disc>& GetDiscs() const { return itsDiscs; }

private:
    static constexpr std::size_t kMostSingle = 20000;

    const double itsCell; // 0: none
    std::vector<Disc> itsDiscs;
    std::unordered_map<std::uint64_t, std::size_t> itsCells;
};

XAxisRange MakeRange( const std::vector<double>& inNumbers, bool inIsLogarithmic )
{
    const auto [least, greatest] = std::ranges::minmax( inNumbers );
    auto range = XMakeAxisRange( least, greatest, inIsLogarithmic );
    range.isWhole =
        std::ranges::all_of( inNumbers, []( double inEach ) { return std::trunc( inEach ) == inEach; } );
    return range;
}
} // namespace

void XDrawScatterPlot(
    const XPlotData& inData, const std::string& inTitleX, const std::string& inTitleY,
    const XPlotSettings& inSettings, WCanvas& ioCanvas )
{
    const auto& x = inData.numbers[0];
    const auto& y = inData.numbers[1];
    auto description = XDescribePlot( inData, inSettings );
    description.x = { MakeRange( x, inSettings.isLogarithmicX ), inTitleX };
    description.y = { MakeRange( y, inSettings.isLogarithmicY ), inTitleY };
    XPlotFrame frame( ioCanvas, inSettings.width, inSettings.height, std::move( description ) );

    const PointStyle style( x.size() );
    DiscGatherer gatherer( x.size(), style.radius );
    for ( std::size_t i = 0; i < x.size(); ++i )
        gatherer.Add( frame.GetPlace( x[i], y[i] ), inData.groupOfRow[i] );
    const auto& discs = gatherer.GetDiscs();
    XForEachChunk(
        discs.size(), kTableRowsAtOnce,
        [&]( std::uint64_t inFirst, std::uint64_t inEnd )
        {
            for ( auto i = inFirst; i < inEnd; ++i )
            {
                // The opacity of as many discs drawn over one another.
                const auto alpha = 1 - std::pow( 1 - style.alpha, discs[i].count );
                ioCanvas.FillDisc(
                    discs[i].centre, style.radius, inData.groups[discs[i].group].colour.WithAlpha( alpha ) );
            }
        } );
    frame.Draw();
}
