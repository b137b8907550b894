#include "Measuring/MeasurementStream.h"

#include "Compression/XLZOCompressor.h"
#include "Core/Streams/XMemStream.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <algorithm>
#include <vector>

// Counts are 64-bit numbers, numbers of pixels 32-bit, flags one byte. Structures are taken apart by structured bindings,
// so that this file does not compile when one of them gets another field.

namespace
{
constexpr std::uint32_t kMostChannels = 65'535;

void RequireStored( bool inIsValid )
{
    if ( !inIsValid )
        XThrow( kErrorStreamCorrupted );
}

/// A count of elements of at least that many bytes each.
std::size_t ReadCount( XStream& ioStream, std::size_t inElementSize )
{
    const std::uint64_t count = ioStream.Read64();
    ioStream.CheckRemaining( count, inElementSize );
    return count;
}

template<class T, class TWrite>
void WriteAll( XStream& ioStream, const std::vector<T>& inElements, const TWrite& inWrite )
{
    ioStream.Write64( inElements.size() );
    for ( const T& element : inElements )
        inWrite( element );
}

template<class T, class TRead>
std::vector<T> ReadAll( XStream& ioStream, std::size_t inElementSize, const TRead& inRead )
{
    std::vector<T> elements( ReadCount( ioStream, inElementSize ) );
    for ( T& element : elements )
        inRead( element );
    return elements;
}

void WriteNumber( XStream& ioStream, const std::optional<double>& inNumber )
{
    ioStream.WriteBool( inNumber.has_value() );
    ioStream.WriteFloat64S( inNumber.value_or( 0 ) );
}

std::optional<double> ReadNumber( XStream& ioStream )
{
    const bool hasValue = ioStream.ReadBool();
    const double value = ioStream.ReadFloat64S();
    return hasValue ? std::optional( value ) : std::nullopt;
}

void WriteIndex( XStream& ioStream, const std::optional<std::uint32_t>& inIndex )
{
    ioStream.WriteBool( inIndex.has_value() );
    ioStream.Write32( inIndex.value_or( 0 ) );
}

std::optional<std::uint32_t> ReadIndex( XStream& ioStream )
{
    const bool hasValue = ioStream.ReadBool();
    const std::uint32_t index = ioStream.Read32();
    return hasValue ? std::optional( index ) : std::nullopt;
}

void WriteObjectSettings( XStream& ioStream, const XObjectSettings& inSettings )
{
    const auto& [channel, threshold, leastPixels] = inSettings;
    ioStream.Write32( channel );
    WriteNumber( ioStream, threshold );
    ioStream.Write64( leastPixels );
}

XObjectSettings ReadObjectSettings( XStream& ioStream )
{
    XObjectSettings settings;
    settings.channel = ioStream.Read32();
    settings.threshold = ReadNumber( ioStream );
    settings.leastPixels = ioStream.Read64();
    return settings;
}

void WriteFilters( XStream& ioStream, const XChannelFilters& inFilters )
{
    const auto& [flattenSigma, isDark, medianRadius, smoothSigma, backgroundRadius] = inFilters;
    ioStream.WriteFloat64S( flattenSigma );
    ioStream.WriteBool( isDark );
    ioStream.Write32( medianRadius );
    ioStream.WriteFloat64S( smoothSigma );
    ioStream.Write32( backgroundRadius );
}

XChannelFilters ReadFilters( XStream& ioStream )
{
    XChannelFilters filters;
    filters.flattenSigma = ioStream.ReadFloat64S();
    filters.isDark = ioStream.ReadBool();
    filters.medianRadius = ioStream.Read32();
    filters.smoothSigma = ioStream.ReadFloat64S();
    filters.backgroundRadius = ioStream.Read32();
    return filters;
}

void WriteAutomaticThreshold( XStream& ioStream, const XAutomaticThreshold& inThreshold )
{
    const auto& [method, classes, excludedClasses, size, scale] = inThreshold;
    ioStream.Write8( static_cast<std::uint8_t>( method ) );
    for ( const std::uint32_t number : { classes, excludedClasses, size } )
        ioStream.Write32( number );
    ioStream.WriteFloat64S( scale );
}

XAutomaticThreshold ReadAutomaticThreshold( XStream& ioStream )
{
    XAutomaticThreshold threshold;
    const std::uint8_t method = ioStream.Read8();
    RequireStored( method <= static_cast<std::uint8_t>( XThresholdMethod::kSauvola ) );
    threshold.method = static_cast<XThresholdMethod>( method );
    for ( auto* const number : { &threshold.classes, &threshold.excludedClasses, &threshold.size } )
        *number = ioStream.Read32();
    threshold.scale = ioStream.ReadFloat64S();
    return threshold;
}

void WriteCleaning( XStream& ioStream, const XMaskCleaning& inCleaning )
{
    const auto& [openRadius, closeRadius, fillsHoles] = inCleaning;
    ioStream.Write32( openRadius );
    ioStream.Write32( closeRadius );
    ioStream.WriteBool( fillsHoles );
}

XMaskCleaning ReadCleaning( XStream& ioStream )
{
    XMaskCleaning cleaning;
    cleaning.openRadius = ioStream.Read32();
    cleaning.closeRadius = ioStream.Read32();
    cleaning.fillsHoles = ioStream.ReadBool();
    return cleaning;
}

void WriteSplit( XStream& ioStream, const XSplitSettings& inSettings )
{
    const auto& [method, depth, sigma] = inSettings;
    ioStream.Write8( static_cast<std::uint8_t>( method ) );
    ioStream.WriteFloat64S( depth );
    ioStream.WriteFloat64S( sigma );
}

XSplitSettings ReadSplit( XStream& ioStream )
{
    XSplitSettings settings;
    const std::uint8_t method = ioStream.Read8();
    RequireStored( method <= static_cast<std::uint8_t>( XSplitMethod::kIntensity ) );
    settings.method = static_cast<XSplitMethod>( method );
    settings.depth = ioStream.ReadFloat64S();
    settings.sigma = ioStream.ReadFloat64S();
    return settings;
}

void WriteSegmentation( XStream& ioStream, const XSegmentationSettings& inSettings )
{
    const auto& [channel, filters, threshold, automatic, cleaning, split] = inSettings;
    ioStream.Write32( channel );
    WriteFilters( ioStream, filters );
    WriteNumber( ioStream, threshold );
    WriteAutomaticThreshold( ioStream, automatic );
    WriteCleaning( ioStream, cleaning );
    WriteSplit( ioStream, split );
}

XSegmentationSettings ReadSegmentation( XStream& ioStream )
{
    XSegmentationSettings settings;
    settings.channel = ioStream.Read32();
    settings.filters = ReadFilters( ioStream );
    settings.threshold = ReadNumber( ioStream );
    settings.automatic = ReadAutomaticThreshold( ioStream );
    settings.cleaning = ReadCleaning( ioStream );
    settings.split = ReadSplit( ioStream );
    return settings;
}

// ---- Objects

constexpr std::size_t kShapeSize = 2 * 8 + 8 * 4;
constexpr std::size_t kRunSize = 4 * 4;
constexpr std::size_t kStatisticsSize = 5 * 8;
constexpr std::size_t kFormSize = 9 * 8;

void WriteShapes( XStream& ioStream, const std::vector<XObjectShape>& inShapes )
{
    const auto write = [&]( const XObjectShape& inShape )
    {
        ioStream.Write64( inShape.sumX );
        ioStream.Write64( inShape.sumY );
        for ( const auto number :
              { inShape.pixelCount, inShape.verticalAdjacencies, inShape.runCount, inShape.left, inShape.top,
                inShape.right, inShape.bottom, inShape.firstX } )
            ioStream.Write32( number );
    };
    WriteAll( ioStream, inShapes, write );
}

std::vector<XObjectShape> ReadShapes( XStream& ioStream )
{
    const auto read = [&]( XObjectShape& outShape )
    {
        outShape.sumX = ioStream.Read64();
        outShape.sumY = ioStream.Read64();
        for ( auto* const number :
              { &outShape.pixelCount, &outShape.verticalAdjacencies, &outShape.runCount, &outShape.left,
                &outShape.top, &outShape.right, &outShape.bottom, &outShape.firstX } )
            *number = ioStream.Read32();
        RequireStored(
            outShape.pixelCount > 0 && outShape.left <= outShape.right && outShape.top <= outShape.bottom &&
            outShape.right < XPixelRun::kNoObject && outShape.left <= outShape.firstX &&
            outShape.firstX <= outShape.right );
    };
    return ReadAll<XObjectShape>( ioStream, kShapeSize, read );
}

void WriteForms( XStream& ioStream, const std::vector<XShapeMeasurement>& inForms )
{
    const auto write = [&]( const XShapeMeasurement& inForm )
    {
        const auto& [majorAxis, minorAxis, eccentricity, orientation, maxFeret, minFeret, perimeter, convexArea, holes] =
            inForm;
        for ( const double number :
              { majorAxis, minorAxis, eccentricity, orientation, maxFeret, minFeret, perimeter } )
            ioStream.WriteFloat64S( number );
        ioStream.Write64( convexArea );
        ioStream.Write64( holes );
    };
    WriteAll( ioStream, inForms, write );
}

std::vector<XShapeMeasurement> ReadForms( XStream& ioStream )
{
    const auto read = [&]( XShapeMeasurement& outForm )
    {
        for ( double* const number :
              { &outForm.majorAxis, &outForm.minorAxis, &outForm.eccentricity, &outForm.orientation,
                &outForm.maxFeret, &outForm.minFeret, &outForm.perimeter } )
            *number = ioStream.ReadFloat64S();
        outForm.convexArea = ioStream.Read64();
        outForm.holes = ioStream.Read64();
    };
    return ReadAll<XShapeMeasurement>( ioStream, kFormSize, read );
}

void WriteRuns( XStream& ioStream, const std::vector<XPixelRun>& inRuns )
{
    const auto write = [&]( const XPixelRun& inRun )
    {
        for ( const auto number : { inRun.row, inRun.first, inRun.end, inRun.object } )
            ioStream.Write32( number );
    };
    WriteAll( ioStream, inRuns, write );
}

/// Whether the runs are those of objects of these shapes on a page of this size at most: in raster order, without overlaps,
/// each inside the bounds of its object, as many and with as many pixels as each shape has.
bool AreRunsOf(
    const std::vector<XPixelRun>& inRuns, const std::vector<XObjectShape>& inShapes, std::uint64_t inWidth,
    std::uint64_t inHeight )
{
    std::vector<std::uint64_t> runs( inShapes.size() );
    std::vector<std::uint64_t> pixels( inShapes.size() );
    XPixelRun previous{ 0, 0, 0, 0 };
    for ( const XPixelRun& run : inRuns )
    {
        const bool follows =
            run.row > previous.row || ( run.row == previous.row && run.first >= previous.end );
        if ( !follows || run.first >= run.end || run.end > inWidth || run.row >= inHeight )
            return false;
        previous = run;
        if ( run.object == XPixelRun::kNoObject )
            continue;
        if ( run.object >= inShapes.size() )
            return false;
        const XObjectShape& shape = inShapes[run.object];
        if ( run.row < shape.top || run.row > shape.bottom || run.first < shape.left ||
             run.end - 1 > shape.right )
            return false;
        if ( runs[run.object] == 0 && ( run.row != shape.top || run.first != shape.firstX ) )
            return false;
        ++runs[run.object];
        pixels[run.object] += run.end - run.first;
    }
    for ( std::size_t i = 0; i < inShapes.size(); ++i )
        if ( runs[i] != inShapes[i].runCount || pixels[i] != inShapes[i].pixelCount )
            return false;
    return true;
}

XLabelledObjects ReadObjects( XStream& ioStream, std::uint64_t inWidth, std::uint64_t inHeight )
{
    XLabelledObjects objects;
    objects.shapes = ReadShapes( ioStream );
    const auto read = [&]( XPixelRun& outRun )
    {
        for ( auto* const number : { &outRun.row, &outRun.first, &outRun.end, &outRun.object } )
            *number = ioStream.Read32();
    };
    objects.runs = ReadAll<XPixelRun>( ioStream, kRunSize, read );
    RequireStored( AreRunsOf( objects.runs, objects.shapes, inWidth, inHeight ) );
    return objects;
}
} // namespace

void MeasurementStream::WriteText( XStream& ioStream, const std::string& inText )
{
    ioStream.Write64( inText.size() );
    ioStream.WriteBuffer8( inText.data(), inText.size() );
}

std::string MeasurementStream::ReadText( XStream& ioStream )
{
    std::string text( ReadCount( ioStream, 1 ), '\0' );
    ioStream.ReadBuffer8( text.data(), text.size() );
    return text;
}

// ---- Settings

void MeasurementStream::WriteSettings( XStream& ioStream, const XMeasureSettings& inSettings )
{
    const auto& [objects, leastPixels, mostPixels, excludesEdges, connectivity, children, values] =
        inSettings;
    WriteSegmentation( ioStream, objects );
    ioStream.Write64( leastPixels );
    ioStream.Write64( mostPixels );
    ioStream.WriteBool( excludesEdges );
    ioStream.WriteBool( connectivity == XConnectivity::kEdgesAndCorners );
    ioStream.WriteBool( children.has_value() );
    if ( children )
        WriteObjectSettings( ioStream, *children );
    const auto& [measuresShape] = values;
    ioStream.WriteBool( measuresShape );
}

XMeasureSettings MeasurementStream::ReadSettings( XStream& ioStream )
{
    XMeasureSettings settings;
    settings.objects = ReadSegmentation( ioStream );
    settings.leastPixels = ioStream.Read64();
    settings.mostPixels = ioStream.Read64();
    settings.excludesEdges = ioStream.ReadBool();
    settings.connectivity = ioStream.ReadBool() ? XConnectivity::kEdgesAndCorners : XConnectivity::kEdges;
    if ( ioStream.ReadBool() )
        settings.children = ReadObjectSettings( ioStream );
    settings.values.shape = ioStream.ReadBool();
    return settings;
}

void MeasurementStream::WriteReadSettings( XStream& ioStream, const XImageReadSettings& inSettings )
{
    const auto& [arePagesTimes, pixelWidth, pixelHeight, selection] = inSettings;
    ioStream.WriteBool( arePagesTimes );
    ioStream.WriteFloat64S( pixelWidth );
    ioStream.WriteFloat64S( pixelHeight );
    const auto& [series, firstTime, lastTime, sliceMode, slice] = selection;
    WriteIndex( ioStream, series );
    ioStream.Write32( firstTime );
    ioStream.Write32( lastTime );
    ioStream.Write8( static_cast<std::uint8_t>( sliceMode ) );
    WriteIndex( ioStream, slice );
}

XImageReadSettings MeasurementStream::ReadReadSettings( XStream& ioStream )
{
    XImageReadSettings settings;
    settings.arePagesTimes = ioStream.ReadBool();
    settings.pixelWidth = ioStream.ReadFloat64S();
    settings.pixelHeight = ioStream.ReadFloat64S();
    settings.selection.series = ReadIndex( ioStream );
    settings.selection.firstTime = ioStream.Read32();
    settings.selection.lastTime = ioStream.Read32();
    const std::uint8_t sliceMode = ioStream.Read8();
    RequireStored( sliceMode <= static_cast<std::uint8_t>( XSliceMode::kSum ) );
    settings.selection.sliceMode = static_cast<XSliceMode>( sliceMode );
    settings.selection.slice = ReadIndex( ioStream );
    return settings;
}

// ---- Pages

namespace
{
/// Compressed at a time, so that little memory is needed beside the page.
constexpr std::uint64_t kSamplesAtOnce = 128 * 1024;

/// Puts bytes of equal significance side by side: the upper bytes of neighbouring samples are often equal. Samples have a
/// size of 1, 2 or 4 bytes.
std::vector<std::uint8_t> SortBytes( const XMemStream& inSamples, std::size_t inSampleSize )
{
    const auto* const bytes = inSamples.GetData();
    std::vector<std::uint8_t> sorted( inSamples.GetLength() );
    const std::size_t count = sorted.size() / inSampleSize;
    for ( std::size_t byte = 0; byte < inSampleSize; ++byte )
        for ( std::size_t i = 0; i < count; ++i )
            sorted[byte * count + i] = bytes[i * inSampleSize + byte];
    return sorted;
}

/// The inverse of SortBytes.
std::vector<std::uint8_t> MixBytes( const std::vector<std::uint8_t>& inSorted, std::size_t inSampleSize )
{
    std::vector<std::uint8_t> bytes( inSorted.size() );
    const std::size_t count = bytes.size() / inSampleSize;
    for ( std::size_t byte = 0; byte < inSampleSize; ++byte )
        for ( std::size_t i = 0; i < count; ++i )
            bytes[i * inSampleSize + byte] = inSorted[byte * count + i];
    return bytes;
}

/// Calls `inFunction( samples, count )` for successive parts of a page.
template<class TFunction>
void ForEachPart( const WImagePage& inPage, const TFunction& inFunction )
{
    const std::uint64_t count = inPage.GetSampleCount();
    std::byte* const bytes = inPage.samples.get();
    for ( std::uint64_t first = 0; first < count; first += kSamplesAtOnce )
        inFunction( bytes + first * inPage.GetSampleSize(), std::min( kSamplesAtOnce, count - first ) );
}

/// A part is stored as it is if compression saves less than a tenth.
void WriteSamples( XStream& ioStream, const WImagePage& inPage )
{
    const XLZOCompressor compressor;
    const auto size = inPage.GetSampleSize();
    const auto write = [&]( const std::byte* inSamples, std::uint64_t inCount )
    {
        XMemStream plain;
        plain.SetByteOrder( kIntelOrder );
        plain.WriteElements( inSamples, inCount, size );
        const auto packed = compressor.Compress( SortBytes( plain, size ) );
        const bool isPacked = packed.size() <= plain.GetLength() / 10 * 9;
        ioStream.Write32( isPacked ? static_cast<std::uint32_t>( packed.size() ) : 0 );
        if ( isPacked )
            ioStream.WriteBuffer8( packed.data(), packed.size() );
        else
            ioStream.WriteBuffer8( plain.GetData(), plain.GetLength() );
    };
    ForEachPart( inPage, write );
}

void ReadSamples( XStream& ioStream, const WImagePage& ioPage )
{
    const XLZOCompressor compressor;
    const auto size = ioPage.GetSampleSize();
    const auto read = [&]( std::byte* outSamples, std::uint64_t inCount )
    {
        std::vector<std::uint8_t> bytes( inCount * size );
        if ( const std::uint32_t packedSize = ioStream.Read32(); packedSize > 0 )
        {
            RequireStored( packedSize < bytes.size() );
            std::vector<std::uint8_t> packed( packedSize );
            ioStream.ReadBuffer8( packed.data(), packed.size() );
            compressor.Decompress( packed, bytes );
            bytes = MixBytes( bytes, size );
        }
        else
            ioStream.ReadBuffer8( bytes.data(), bytes.size() );
        XMemStream plain( bytes.data(), bytes.size() );
        plain.SetByteOrder( kIntelOrder );
        plain.ReadElements( outSamples, inCount, size );
    };
    ForEachPart( ioPage, read );
}
} // namespace

void MeasurementStream::WritePage( XStream& ioStream, const WImagePage& inPage )
{
    ioStream.Write32( inPage.width );
    ioStream.Write32( inPage.height );
    ioStream.Write32( inPage.channels );
    ioStream.Write8( static_cast<std::uint8_t>( inPage.type ) );
    ioStream.WriteFloat64S( inPage.pixelWidth );
    ioStream.WriteFloat64S( inPage.pixelHeight );
    WriteSamples( ioStream, inPage );
}

WImagePage
MeasurementStream::ReadPage( XStream& ioStream, const WImagePage::Allocator& inAllocator, bool inIsPacked )
{
    WImagePage page;
    page.width = ioStream.Read32();
    page.height = ioStream.Read32();
    page.channels = ioStream.Read32();
    const std::uint8_t type = ioStream.Read8();
    const std::uint64_t pixels = std::uint64_t{ page.width } * page.height;
    RequireStored( type <= WImagePage::kFloat32 && pixels > 0 && pixels <= XPixelRun::kNoObject );
    RequireStored( page.channels > 0 && page.channels <= kMostChannels );
    page.type = static_cast<WImagePage::SampleType>( type );
    page.pixelWidth = ioStream.ReadFloat64S();
    page.pixelHeight = ioStream.ReadFloat64S();
    const auto most = inIsPacked ? XLZOCompressor::kMostRatio : 1;
    ioStream.CheckRemaining( page.GetByteCount() / most, 1 );
    page.Allocate( page.GetByteCount(), inAllocator );
    if ( inIsPacked )
        ReadSamples( ioStream, page );
    else
        ioStream.ReadElements( page.samples.get(), page.GetSampleCount(), page.GetSampleSize() );
    return page;
}

// ---- Results

void MeasurementStream::WriteMeasurement( XStream& ioStream, const XPageMeasurement& inMeasurement )
{
    const auto& [channels, pixelWidth, pixelHeight, threshold, nonFinite, shapes, statistics, forms, parents, releasedOuter, releasedChildren, hasForms, kept, keptOffset] =
        inMeasurement;
    XAssert( releasedOuter == 0 && releasedChildren == 0 && !kept && keptOffset == 0 );
    ioStream.Write32( channels );
    for ( const double number : { pixelWidth, pixelHeight, threshold } )
        ioStream.WriteFloat64S( number );
    ioStream.Write64( nonFinite );
    WriteShapes( ioStream, shapes );
    const auto writeStatistics = [&]( const XChannelStatistics& inStatistics )
    {
        const auto& [min, max, mean, standardDeviation, sum] = inStatistics;
        for ( const double number : { min, max, mean, standardDeviation, sum } )
            ioStream.WriteFloat64S( number );
    };
    WriteAll( ioStream, statistics, writeStatistics );
    WriteAll( ioStream, parents, [&]( std::uint32_t inParent ) { ioStream.Write32( inParent ); } );
    ioStream.WriteBool( hasForms );
    if ( hasForms )
        WriteForms( ioStream, forms );
}

XPageMeasurement MeasurementStream::ReadMeasurement( XStream& ioStream )
{
    XPageMeasurement measurement;
    measurement.channels = ioStream.Read32();
    // A table has columns for each channel, even without objects.
    RequireStored( measurement.channels <= kMostChannels );
    for ( double* const number :
          { &measurement.pixelWidth, &measurement.pixelHeight, &measurement.threshold } )
        *number = ioStream.ReadFloat64S();
    measurement.nonFinite = ioStream.Read64();
    measurement.shapes = ReadShapes( ioStream );
    const auto readStatistics = [&]( XChannelStatistics& outStatistics )
    {
        for ( double* const number :
              { &outStatistics.min, &outStatistics.max, &outStatistics.mean, &outStatistics.standardDeviation,
                &outStatistics.sum } )
            *number = ioStream.ReadFloat64S();
    };
    measurement.statistics = ReadAll<XChannelStatistics>( ioStream, kStatisticsSize, readStatistics );
    RequireStored( measurement.statistics.size() == measurement.shapes.size() * measurement.channels );
    const auto readParent = [&]( std::uint32_t& outParent ) { outParent = ioStream.Read32(); };
    measurement.parents = ReadAll<std::uint32_t>( ioStream, sizeof( std::uint32_t ), readParent );
    RequireStored( measurement.parents.size() <= measurement.shapes.size() );
    const auto isOuter = [&]( std::uint32_t inParent ) { return inParent < measurement.GetOuterCount(); };
    RequireStored( std::ranges::all_of( measurement.parents, isOuter ) );
    measurement.hasForms = ioStream.ReadBool();
    if ( measurement.hasForms )
        measurement.forms = ReadForms( ioStream );
    RequireStored( !measurement.hasForms || measurement.forms.size() == measurement.shapes.size() );
    return measurement;
}

void MeasurementStream::WriteSketch( XStream& ioStream, const XOverlaySketch& inSketch )
{
    ioStream.Write32( inSketch.width );
    ioStream.Write32( inSketch.height );
    ioStream.Write32( inSketch.picture.width );
    ioStream.Write32( inSketch.picture.height );
    ioStream.WriteBuffer8( inSketch.picture.levels.data(), inSketch.picture.levels.size() );
    ioStream.Write32( inSketch.reduction );
    const auto write = [&]( const XOverlayObjects& inObjects )
    {
        WriteShapes( ioStream, inObjects.objects.shapes );
        WriteRuns( ioStream, inObjects.objects.runs );
        for ( const auto part : { inObjects.colour.red, inObjects.colour.green, inObjects.colour.blue } )
            ioStream.Write8( part );
        ioStream.WriteFloat64S( inObjects.colour.alpha );
    };
    WriteAll( ioStream, inSketch.objects, write );
}

XOverlaySketch MeasurementStream::ReadSketch( XStream& ioStream, const XPageMeasurement& inMeasurement )
{
    constexpr std::size_t kLeastSize = 2 * 8 + 3 + 8; // of objects
    XOverlaySketch sketch;
    sketch.width = ioStream.Read32();
    sketch.height = ioStream.Read32();
    sketch.picture.width = ioStream.Read32();
    sketch.picture.height = ioStream.Read32();
    ioStream.CheckRemaining( sketch.picture.height, sketch.picture.width );
    sketch.picture.levels.resize( std::size_t{ sketch.picture.width } * sketch.picture.height );
    ioStream.ReadBuffer8( sketch.picture.levels.data(), sketch.picture.levels.size() );
    sketch.reduction = ioStream.Read32();
    RequireStored( sketch.reduction > 0 && !sketch.picture.levels.empty() );
    const auto isReduced = [&]( std::uint64_t inSize, std::uint32_t inReduced )
    { return inSize > 0 && ( inSize - 1 ) / sketch.reduction + 1 == inReduced; };
    RequireStored(
        isReduced( sketch.width, sketch.picture.width ) &&
        isReduced( sketch.height, sketch.picture.height ) );
    const auto read = [&]( XOverlayObjects& outObjects )
    {
        outObjects.objects = ReadObjects( ioStream, sketch.width, sketch.height );
        for ( auto* const part :
              { &outObjects.colour.red, &outObjects.colour.green, &outObjects.colour.blue } )
            *part = ioStream.Read8();
        outObjects.colour.alpha = ioStream.ReadFloat64S();
    };
    sketch.objects = ReadAll<XOverlayObjects>( ioStream, kLeastSize, read );
    // The IDs of labels depend on it.
    RequireStored(
        sketch.objects.size() == 2 &&
        sketch.objects[0].objects.shapes.size() == inMeasurement.GetOuterCount() &&
        sketch.objects[1].objects.shapes.size() == inMeasurement.parents.size() );
    sketch.SetNumbers( 1 );
    return sketch;
}
