#include "Imaging/Thresholds/XLocalThreshold.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"
#include "Imaging/Filters/Internal/XGaussianRows.h"
#include "Imaging/Pages/Internal/XPageSamples.h"
#include "Jobs/XChunks.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <type_traits>
#include <vector>

// The Gaussian is computed in double precision, in the order of SciPy: in uniform areas, samples equal the
// threshold except for rounding. The sums of Sauvola's squares slide down the columns, then along a row; those
// of integers are exact.

namespace
{
template<class T>
bool IsUniform( const WImagePage& inPage, const T* inSamples )
{
    const auto pixels = std::size_t{ inPage.width } * inPage.height;
    for ( std::size_t i = 1; i < pixels; ++i )
        if ( inSamples[i * inPage.channels] != inSamples[0] )
            return false;
    return true;
}

/// Marks the pixels of a row that are above their threshold.
template<class T>
void MarkRow(
    const T* inSamples, std::size_t inStride, const std::vector<double>& inThresholds,
    std::span<std::uint64_t> outBits )
{
    constexpr std::size_t kBits = XPixelMask::kWordBits;
    for ( std::size_t x = 0; x < inThresholds.size(); ++x )
        outBits[x / kBits] |= std::uint64_t{ inSamples[x * inStride] > inThresholds[x] } << x % kBits;
}

/// Calls `inCompute( row, outThresholds )` for each row and marks its pixels.
template<class T, class TCompute>
void MarkRows(
    const WImagePage& inPage, const T* inSamples, double inScale, XPixelMask& ioMask, TCompute inCompute )
{
    std::vector<double> thresholds( inPage.width );
    XForEachRow(
        inPage.height, inPage.width,
        [&]( std::uint32_t inRow )
        {
            inCompute( inRow, thresholds );
            for ( auto& threshold : thresholds )
                threshold *= inScale;
            const auto* samples = inSamples + std::size_t{ inRow } * inPage.width * inPage.channels;
            MarkRow( samples, inPage.channels, thresholds, ioMask.GetRow( inRow ) );
        } );
}

/// The row or column of a page that is mirrored at the centre of its border pixels.
std::uint32_t Mirror( std::int64_t inPlace, std::uint32_t inCount )
{
    if ( inCount == 1 )
        return 0;
    const std::int64_t period = 2 * ( std::int64_t{ inCount } - 1 );
    const auto place = ( inPlace % period + period ) % period;
    return static_cast<std::uint32_t>( std::min( place, period - place ) );
}

/// Sums of the samples and of their squares over squares, row by row.
template<class T>
class SquareSums
{
public:
    using Sum = std::conditional_t<std::is_integral_v<T>, std::uint64_t, double>;

    SquareSums( const WImagePage& inPage, const T* inSamples, std::uint32_t inSize )
        : itsPage( inPage ), itsSamples( inSamples ), itsReach( inSize / 2 ), itsColumns( inPage.width )
    {
        for ( auto row = -itsReach - 1; row < itsReach; ++row )
            AddRow( row, []( Sum& ioSum, Sum inValue ) { ioSum += inValue; } );
    }

    /// Calls `inWork( column, sum, sum of squares )` for the squares around the next row.
    template<class TWork>
    void VisitNextRow( TWork inWork )
    {
        AddRow( itsNext - itsReach - 1, []( Sum& ioSum, Sum inValue ) { ioSum -= inValue; } );
        AddRow( itsNext + itsReach, []( Sum& ioSum, Sum inValue ) { ioSum += inValue; } );
        ++itsNext;
        Column sums;
        for ( auto x = -itsReach; x < itsReach; ++x )
            sums.Add( itsColumns[Mirror( x, itsPage.width )] );
        for ( std::uint32_t x = 0; x < itsPage.width; ++x )
        {
            sums.Add( itsColumns[Mirror( x + itsReach, itsPage.width )] );
            inWork( x, static_cast<double>( sums.sum ), static_cast<double>( sums.squares ) );
            sums.Remove( itsColumns[Mirror( x - itsReach, itsPage.width )] );
        }
    }

private:
    struct Column
    {
        Sum sum = 0;
        Sum squares = 0;

        void Add( const Column& inOther )
        {
            sum += inOther.sum;
            squares += inOther.squares;
        }
        void Remove( const Column& inOther )
        {
            sum -= inOther.sum;
            squares -= inOther.squares;
        }
    };

    const WImagePage& itsPage;
    const T* const itsSamples;
    const std::int64_t itsReach;
    std::int64_t itsNext = 0;
    std::vector<Column> itsColumns;

    template<class TAdd>
    void AddRow( std::int64_t inRow, TAdd inAdd )
    {
        const auto* samples =
            itsSamples + std::size_t{ Mirror( inRow, itsPage.height ) } * itsPage.width * itsPage.channels;
        for ( std::uint32_t x = 0; x < itsPage.width; ++x )
        {
            const Sum sample = samples[std::size_t{ x } * itsPage.channels];
            inAdd( itsColumns[x].sum, sample );
            inAdd( itsColumns[x].squares, sample * sample );
        }
    }
};

template<class T>
void MarkSauvola(
    const WImagePage& inPage, const T* inSamples, const XAutomaticThreshold& inSettings, double inHalfRange,
    XPixelMask& ioMask )
{
    constexpr double kWeight = 0.2; // of the deviation
    const auto count = static_cast<double>( inSettings.size ) * inSettings.size;
    SquareSums<T> sums( inPage, inSamples, inSettings.size );
    const auto compute = [&]( std::uint32_t, std::vector<double>& outThresholds )
    {
        sums.VisitNextRow(
            [&]( std::uint32_t inX, double inSum, double inSquares )
            {
                const auto mean = inSum / count;
                const auto deviation = std::sqrt( std::max( inSquares / count - mean * mean, 0.0 ) );
                outThresholds[inX] = mean * ( 1 + kWeight * ( deviation / inHalfRange - 1 ) );
            } );
    };
    MarkRows( inPage, inSamples, inSettings.scale, ioMask, compute );
}
} // namespace

XPixelMask XMarkLocally(
    const WImagePage& inPage, std::uint32_t inChannel, const XAutomaticThreshold& inSettings,
    double inHalfRange )
{
    if ( !inSettings.IsLocal() || inSettings.size < 3 || inSettings.size > kXMostLocalSize ||
         inSettings.size % 2 == 0 )
        XThrow( kErrorBadParameters );
    XPixelMask mask( inPage.width, inPage.height );
    const auto mark = [&]( const auto* inSamples )
    {
        if ( IsUniform( inPage, inSamples ) )
            return;
        if ( inSettings.method == XThresholdMethod::kSauvola )
            return MarkSauvola( inPage, inSamples, inSettings, inHalfRange, mask );
        XGaussianRows<double> rows( inPage, inChannel, ( inSettings.size - 1 ) / 6.0, XPageBorder::kReflect );
        const auto smooth = [&]( std::uint32_t inRow, std::vector<double>& outThresholds )
        { std::copy_n( rows.SmoothRow( inRow ), inPage.width, outThresholds.begin() ); };
        MarkRows( inPage, inSamples, inSettings.scale, mask, smooth );
    };
    XVisitSamples( inPage, inChannel, mark );
    return mask;
}

double XGetHalfRange( WImageFormat::SampleType inType )
{
    return inType == WImageFormat::kUInt8 ? 127.5 : inType == WImageFormat::kUInt16 ? 32767.5 : 1;
}
