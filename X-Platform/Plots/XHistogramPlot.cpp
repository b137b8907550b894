#include "Plots/XHistogramPlot.h"

#include "Drawing/XHistogram.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr double kLineWidth = 0.9;
constexpr double kLeastLogarithmicCount = 0.5; // so that a bar of one can be seen

/// The counts of one group.
struct Bars
{
    WColour colour;
    std::vector<std::uint64_t> counts;
};

struct Bins
{
    std::vector<double> limits; // as they are drawn
    std::vector<Bars> groups;

    double GetMost() const
    {
        std::uint64_t most = 0;
        for ( const auto& group : groups )
            most = std::max( most, std::ranges::max( group.counts ) );
        return static_cast<double>( most );
    }
};

/// Bins of equal width on the axis, which on a logarithmic one are those of the logarithms.
Bins MakeBins( const XPlotData& inData, const XPlotSettings& inSettings )
{
    auto numbers = inData.numbers[0];
    if ( inSettings.isLogarithmicX )
        std::ranges::transform(
            numbers, numbers.begin(), []( double inEach ) { return std::log10( inEach ); } );
    Bins bins{ XMakeBinLimits( numbers, inSettings.bins ), {} };

    std::vector<std::vector<double>> numbersOfGroup( inData.groups.size() );
    for ( std::size_t i = 0; i < numbers.size(); ++i )
        numbersOfGroup[inData.groupOfRow[i]].push_back( numbers[i] );
    for ( std::size_t i = 0; i < numbersOfGroup.size(); ++i )
        bins.groups.push_back( { inData.groups[i].colour, XCountInBins( numbersOfGroup[i], bins.limits ) } );
    if ( inSettings.isLogarithmicX )
        std::ranges::transform(
            bins.limits, bins.limits.begin(), []( double inEach ) { return std::pow( 10, inEach ); } );
    return bins;
}

XAxisRange MakeCountRange( double inMost, bool inIsLogarithmic )
{
    if ( inIsLogarithmic )
        return { kLeastLogarithmicCount, inMost * 1.5, true, true };
    return { 0, inMost * 1.05, false, true };
}

/// One bar for each bin, with a line of paper between neighbours.
void DrawBars( const XPlotFrame& inFrame, const Bins& inBins, double inLow, WCanvas& ioCanvas )
{
    const auto& [colour, counts] = inBins.groups.front();
    for ( std::size_t i = 0; i < counts.size(); ++i )
    {
        if ( counts[i] == 0 )
            continue;
        auto from = inFrame.GetPlace( inBins.limits[i], inLow );
        auto to = inFrame.GetPlace( inBins.limits[i + 1], static_cast<double>( counts[i] ) );
        const auto gap = std::min( 0.3, ( to.x - from.x ) / 8 );
        from.x += gap;
        to.x -= gap;
        ioCanvas.FillRectangle( from, to, colour.WithAlpha( 0.8 ) );
    }
}

/// The outline of the bars of a group, so that those behind it can be seen.
void DrawSteps(
    const XPlotFrame& inFrame, const std::vector<double>& inLimits, const Bars& inBars, double inLow,
    WCanvas& ioCanvas )
{
    WCanvas::Path path{ inFrame.GetPlace( inLimits.front(), inLow ) };
    for ( std::size_t i = 0; i < inBars.counts.size(); ++i )
    {
        const auto height = std::max( static_cast<double>( inBars.counts[i] ), inLow );
        path.push_back( inFrame.GetPlace( inLimits[i], height ) );
        path.push_back( inFrame.GetPlace( inLimits[i + 1], height ) );
    }
    path.push_back( inFrame.GetPlace( inLimits.back(), inLow ) );
    ioCanvas.Fill( path, inBars.colour.WithAlpha( 0.2 ) );
    ioCanvas.Stroke( { path }, false, { inBars.colour, kLineWidth } );
}
} // namespace

void XDrawHistogram(
    const XPlotData& inData, const std::string& inTitle, const XPlotSettings& inSettings, WCanvas& ioCanvas )
{
    const auto bins = MakeBins( inData, inSettings );
    const auto low = inSettings.isLogarithmicY ? kLeastLogarithmicCount : 0;
    auto description = XDescribePlot( inData, inSettings );
    description.x = {
        XMakeAxisRange( bins.limits.front(), bins.limits.back(), inSettings.isLogarithmicX ), inTitle };
    description.y = { MakeCountRange( bins.GetMost(), inSettings.isLogarithmicY ), "Count" };
    XPlotFrame frame( ioCanvas, inSettings.width, inSettings.height, std::move( description ) );
    if ( bins.groups.size() == 1 )
        DrawBars( frame, bins, low, ioCanvas );
    else // The first group lies above.
        for ( auto group = bins.groups.rbegin(); group != bins.groups.rend(); ++group )
            DrawSteps( frame, bins.limits, *group, low, ioCanvas );
    frame.Draw();
}
