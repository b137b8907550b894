#include "Pivot/Accumulators/XPivotColumnSummary.h"

#include "Pivot/Accumulators/Internal/XPivotSums.h"
#include "Pivot/Columns/XPivotColumn.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr std::uint32_t kRowsPerBlock = 4096;

template<class TUseBlock>
void ForEachBlock( const XPivotColumn& inColumn, TUseBlock inUseBlock )
{
    XVector<double> scratch;
    std::uint32_t row = 0;
    for ( ;; )
    {
        const XPivotColumn::XFloatBlock block = inColumn.GetFloatBlock( row, kRowsPerBlock, scratch );
        if ( block.count == 0 )
            return;
        inUseBlock( block );
        row += block.count;
    }
}

/// From the first row to the last: how infinities, and sums past the largest double, come out.
template<class TMakeTerm>
double AddInOrder( const XPivotColumn& inColumn, TMakeTerm inMakeTerm )
{
    double sum = 0.0;
    ForEachBlock(
        inColumn,
        [&]( const XPivotColumn::XFloatBlock& inBlock )
        {
            for ( std::uint32_t i = 0; i < inBlock.count; ++i )
            {
                if ( inBlock.exists[i] && !std::isnan( inBlock.values[i] ) )
                    sum += inMakeTerm( inBlock.values[i] );
            }
        } );
    return sum;
}
} // namespace

const XPivotColumnSummary::XMoments& XPivotColumnSummary::GetMoments() const
{
    if ( itsMoments )
        return *itsMoments;
    XPivotMomentSums sums;
    ForEachBlock(
        itsColumn,
        [&]( const XPivotColumn::XFloatBlock& inBlock )
        { XGetPivotSumLoops().addMoments( inBlock, sums ); } );
    XMoments moments;
    moments.count = sums.count;
    moments.numbers = sums.numbers;
    moments.sum = sums.sum.GetTotal();
    moments.minimum = *std::min_element( std::begin( sums.minima ), std::end( sums.minima ) );
    moments.maximum = *std::max_element( std::begin( sums.maxima ), std::end( sums.maxima ) );
    // The compensation turns infinities into NaN; a plain sum in order gives what infinities and overflow
    // should.
    if ( !std::isfinite( moments.sum ) )
        moments.sum = AddInOrder( itsColumn, []( double inValue ) { return inValue; } );
    return itsMoments.emplace( moments );
}

double XPivotColumnSummary::GetSquaredDeviations() const
{
    if ( itsSquaredDeviations )
        return *itsSquaredDeviations;
    // Two passes, the mean first: the one-pass formula loses all digits if the deviations are small beside
    // the mean.
    const double mean = GetMoments().sum / static_cast<double>( GetMoments().numbers );
    XPivotSums sums;
    ForEachBlock(
        itsColumn,
        [&]( const XPivotColumn::XFloatBlock& inBlock )
        { XGetPivotSumLoops().addSquares( inBlock, mean, sums ); } );
    double total = sums.GetTotal();
    if ( !std::isfinite( total ) )
    {
        const auto square = [mean]( double inValue ) { return ( inValue - mean ) * ( inValue - mean ); };
        total = AddInOrder( itsColumn, square );
    }
    return itsSquaredDeviations.emplace( total );
}
