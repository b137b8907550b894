#include "Imaging/Measurements/XPageMeasurement.h"

#include "Imaging/Objects/Internal/XObjectRuns.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

// Statistics of each object in each channel, in one pass over the runs for integers and two for floats. Whole
// samples are summed exactly and the variance is n * sum of squares - square of sum, in 128 bits, so no digit
// is lost. Floats are summed with compensation (two-sum, as in the pivots) and their deviations are taken
// from the mean, as the one-pass formula would cancel. A NaN makes all values of its object NaN.
//
// Runs are visited in raster order, whatever object they belong to, so that the samples are read in the order
// of their addresses.

namespace
{
using UInt128 = unsigned __int128;

/// Sums of whole numbers are exact: neither overflows below 2^32 samples.
template<class T>
class WholeSum
{
public:
    static constexpr bool kNeedsMean = false;

    void Add( const T* inSamples, std::uint32_t inCount, std::uint32_t inStride )
    {
        for ( std::uint32_t i = 0; i < inCount; ++i )
        {
            const std::uint32_t value = inSamples[std::size_t{ i } * inStride];
            itsMin = std::min( itsMin, value );
            itsMax = std::max( itsMax, value );
            itsSum += value;
            itsSquares += std::uint64_t{ value } * value;
        }
    }

    XChannelStatistics Get( std::uint64_t inCount ) const
    {
        const auto count = static_cast<double>( inCount );
        const auto squaredDeviations = UInt128{ itsSquares } * inCount - UInt128{ itsSum } * itsSum;
        const auto sum = static_cast<double>( itsSum );
        return {
            static_cast<double>( itsMin ), static_cast<double>( itsMax ), sum / count,
            std::sqrt( static_cast<double>( squaredDeviations ) ) / count, sum };
    }

private:
    std::uint32_t itsMin = std::numeric_limits<std::uint32_t>::max();
    std::uint32_t itsMax = 0;
    std::uint64_t itsSum = 0;
    std::uint64_t itsSquares = 0;
};

/// A sum that keeps what rounding takes from each addition.
class CompensatedSum
{
public:
    void Add( double inValue )
    {
        const auto sum = itsSum + inValue;
        const auto added = sum - itsSum;
        itsLost += ( itsSum - ( sum - added ) ) + ( inValue - added );
        itsSum = sum;
    }

    /// With infinities and NaN the compensation is meaningless.
    double Get() const { return std::isfinite( itsLost ) ? itsSum + itsLost : itsSum; }

private:
    double itsSum = 0;
    double itsLost = 0;
};

/// Float samples: deviations need the mean first.
class FloatSum
{
public:
    static constexpr bool kNeedsMean = true;

    void Add( const float* inSamples, std::uint32_t inCount, std::uint32_t inStride )
    {
        for ( std::uint32_t i = 0; i < inCount; ++i )
        {
            const double value = inSamples[std::size_t{ i } * inStride];
            itsHasNaN |= std::isnan( value );
            itsMin = std::min( itsMin, value );
            itsMax = std::max( itsMax, value );
            itsSum.Add( value );
        }
    }

    void FixMean( std::uint64_t inCount ) { itsMean = itsSum.Get() / static_cast<double>( inCount ); }

    void AddDeviations( const float* inSamples, std::uint32_t inCount, std::uint32_t inStride )
    {
        for ( std::uint32_t i = 0; i < inCount; ++i )
        {
            const auto deviation = inSamples[std::size_t{ i } * inStride] - itsMean;
            itsSquares.Add( deviation * deviation );
        }
    }

    XChannelStatistics Get( std::uint64_t inCount ) const
    {
        constexpr auto kNaN = std::numeric_limits<double>::quiet_NaN();
        if ( itsHasNaN )
            return { kNaN, kNaN, kNaN, kNaN, kNaN };
        const auto variance = itsSquares.Get() / static_cast<double>( inCount );
        return { itsMin, itsMax, itsMean, std::sqrt( variance ), itsSum.Get() };
    }

private:
    double itsMin = std::numeric_limits<double>::infinity();
    double itsMax = -std::numeric_limits<double>::infinity();
    double itsMean = 0;
    bool itsHasNaN = false;
    CompensatedSum itsSum;
    CompensatedSum itsSquares;
};

/// Calls `inAction( sums of the object in the channel, first sample, count )` for every run of an object and channel.
template<class T, class TSum, class TAction>
void ForEachRun(
    const WImagePage& inPage, const XLabelledObjects& inObjects, std::vector<TSum>& ioSums, TAction inAction )
{
    const auto* samples = inPage.GetSamples<T>();
    const auto visit = [&]( const XPixelRun& inRun )
    {
        const auto pixel = std::size_t{ inRun.row } * inPage.width + inRun.first;
        for ( std::uint32_t channel = 0; channel < inPage.channels; ++channel )
            inAction(
                ioSums[std::size_t{ inRun.object } * inPage.channels + channel],
                samples + pixel * inPage.channels + channel, inRun.end - inRun.first );
    };
    XForEachObjectRun( inObjects, visit );
}

template<class T, class TSum>
std::vector<XChannelStatistics> GetStatistics( const WImagePage& inPage, const XLabelledObjects& inObjects )
{
    std::vector<TSum> sums( inObjects.shapes.size() * inPage.channels );
    const auto getCount = [&]( std::size_t inIndex )
    { return inObjects.shapes[inIndex / inPage.channels].pixelCount; };
    ForEachRun<T>(
        inPage, inObjects, sums,
        [&]( TSum& ioSum, const T* inSamples, std::uint32_t inCount )
        { ioSum.Add( inSamples, inCount, inPage.channels ); } );
    if constexpr ( TSum::kNeedsMean )
    {
        for ( std::size_t i = 0; i < sums.size(); ++i )
            sums[i].FixMean( getCount( i ) );
        ForEachRun<T>(
            inPage, inObjects, sums,
            [&]( TSum& ioSum, const T* inSamples, std::uint32_t inCount )
            { ioSum.AddDeviations( inSamples, inCount, inPage.channels ); } );
    }

    std::vector<XChannelStatistics> statistics( sums.size() );
    for ( std::size_t i = 0; i < sums.size(); ++i )
        statistics[i] = sums[i].Get( getCount( i ) );
    return statistics;
}

std::vector<XChannelStatistics> GetStatistics( const WImagePage& inPage, const XLabelledObjects& inObjects )
{
    return VisitSampleType(
        inPage.type,
        [&]<class T>( std::type_identity<T> )
        {
            using TSum = std::conditional_t<std::is_integral_v<T>, WholeSum<T>, FloatSum>;
            return GetStatistics<T, TSum>( inPage, inObjects );
        } );
}

void RequireChannel( const WImagePage& inPage, std::uint32_t inChannel )
{
    if ( inChannel >= inPage.channels )
        throw WImageError(
            "it has no channel C" + std::to_string( inChannel + 1 ) + " (expected C1" +
            ( inPage.channels > 1 ? " to C" + std::to_string( inPage.channels ) : "" ) + ")" );
}

template<class T>
void Append( std::vector<T>& ioValues, const std::vector<T>& inMore )
{
    ioValues.insert( ioValues.end(), inMore.begin(), inMore.end() );
}

/// Also those of sizes and places that are to be ignored.
XPageObjects
FindOuterObjects( const WImagePage& inPage, const XMeasureSettings& inSettings, const XGivenObjects* inGiven )
{
    XPageObjects objects;
    if ( inGiven && !inGiven->mask )
    {
        objects.threshold = std::numeric_limits<double>::quiet_NaN();
        objects.outer = inGiven->labels;
        return objects;
    }
    XProgress progress( 2, XProgress::kProgressSteps );
    const auto segmentation = XSegmentPage( inPage, inSettings.objects, inGiven ? &*inGiven->mask : nullptr );
    objects.threshold = segmentation.threshold;
    objects.nonFinite = segmentation.nonFinite;
    progress.Increment();
    const auto isSplit = inSettings.objects.split.method != XSplitMethod::kNone;
    objects.outer = XSplitComponents(
        XFindConnectedComponents(
            segmentation.mask, inSettings.connectivity, isSplit ? 1 : inSettings.leastPixels ),
        segmentation, inSettings.objects.split, inSettings.connectivity );
    return objects;
}
} // namespace

void XPageMeasurement::Release()
{
    releasedOuter += shapes.size() - parents.size();
    releasedChildren += parents.size();
    std::vector<XObjectShape>().swap( shapes );
    std::vector<XChannelStatistics>().swap( statistics );
    std::vector<XShapeMeasurement>().swap( forms );
    std::vector<std::uint32_t>().swap( parents );
}

XPageObjects
XFindPageObjects( const WImagePage& inPage, const XMeasureSettings& inSettings, const XGivenObjects* inGiven )
{
    RequireChannel( inPage, inSettings.objects.channel );
    if ( inGiven )
        inGiven->RequireSizeOf( inPage );
    XProgress progress( inSettings.children ? 2 : 1, XProgress::kProgressSteps );
    auto objects = FindOuterObjects( inPage, inSettings, inGiven );
    const auto isIgnored = [&]( const XObjectShape& inShape )
    {
        return inShape.pixelCount < inSettings.leastPixels || inShape.pixelCount > inSettings.mostPixels ||
            ( inSettings.excludesEdges && inShape.TouchesBorder( inPage.width, inPage.height ) );
    };
    XRemoveObjects( objects.outer, isIgnored );
    if ( !inSettings.children )
        return objects;

    RequireChannel( inPage, inSettings.children->channel );
    progress.Increment();
    objects.children =
        XFindChildObjects( inPage, objects.outer, *inSettings.children, inSettings.connectivity );
    return objects;
}

XPageMeasurement
XMeasureObjects( const WImagePage& inPage, const XPageObjects& inObjects, const XMeasuredValues& inValues )
{
    XProgress progress( inValues.shape ? 3 : 2, XProgress::kProgressSteps );
    XPageMeasurement measurement;
    measurement.channels = inPage.channels;
    measurement.pixelWidth = inPage.pixelWidth;
    measurement.pixelHeight = inPage.pixelHeight;
    measurement.threshold = inObjects.threshold;
    measurement.nonFinite = inObjects.nonFinite;
    measurement.shapes = inObjects.outer.shapes; // A copy is as small as it can be.
    measurement.statistics = GetStatistics( inPage, inObjects.outer );
    progress.Increment();
    Append( measurement.shapes, inObjects.children.objects.shapes );
    Append( measurement.statistics, GetStatistics( inPage, inObjects.children.objects ) );
    measurement.parents = inObjects.children.parents;
    measurement.hasForms = inValues.shape;
    if ( !inValues.shape )
        return measurement;
    progress.Increment();
    measurement.forms = XMeasureShapes( inObjects.outer );
    Append( measurement.forms, XMeasureShapes( inObjects.children.objects ) );
    return measurement;
}

XPageMeasurement XMeasurePage( const WImagePage& inPage, const XMeasureSettings& inSettings )
{
    XProgress progress( 2, XProgress::kProgressSteps );
    const auto objects = XFindPageObjects( inPage, inSettings );
    progress.Increment();
    return XMeasureObjects( inPage, objects, inSettings.values );
}
