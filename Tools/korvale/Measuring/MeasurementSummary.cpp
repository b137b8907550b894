#include "Measuring/MeasurementSummary.h"

#include "Pivot/Columns/XPivotUInt32Column.h"
#include "Pivot/XPivotText.h"
#include "Terminal/AlignedText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>

// The rows are numbered by their summary lines: one for each image or, with child objects, two. A pivot by
// these numbers results in the lines of the images, another one in those of all images.

namespace
{
using Accumulator = XPivotTableAccumulator;
using Line = std::vector<std::string>;

enum Column : std::uint32_t
{
    kImageLine,
    kTotalLine,
    kPixelCount,
    kMean
};

/// The positions of a value's results among the columns of its pivot.
enum Result : std::uint32_t
{
    kResultMean,
    kResultCount,
    kResultMin,
    kResultMax,
    kResultVariance,
    kResultDeviation,
    kResultsPerValue
};
constexpr std::array kShown{ kResultMean, kResultDeviation, kResultMin, kResultMax };
const std::array kHeads{ "Mean", "S.D.", "Min", "Max" };

XPivotColumnDescriptor DescribeColumn( XPivotColumnID inID, const XString& inChannel = XString() )
{
    return XPivotColumnDescriptor( inID, XString(), inChannel, XString() );
}

std::unique_ptr<XPivotColumn> TakeColumn( XPivotTable& ioTable, const XPivotColumnDescriptor& inDescriptor )
{
    const auto index = ioTable.FindColumnIndex( inDescriptor );
    XAssert( index >= 0 );
    return ioTable.RemoveColumn( static_cast<std::uint32_t>( index ) );
}

/// The rows with the summarised values. No other part of the table is kept.
XPivotTable MakeRows(
    const std::vector<XImageMeasurement>& inImages, std::uint32_t inLinesPerImage, XPivotTable inTable,
    std::uint32_t inChannel )
{
    auto pixelCount = TakeColumn( inTable, DescribeColumn( kPivotPixelCount ) );
    auto mean =
        TakeColumn( inTable, DescribeColumn( kPivotMean, XString( "C" ) + XString( inChannel + 1 ) ) );
    inTable = {};
    auto imageLine = std::make_unique<XPivotUInt32Column>();
    auto totalLine = std::make_unique<XPivotUInt32Column>();
    imageLine->ReserveRows( mean->GetColumnSize() );
    totalLine->ReserveRows( mean->GetColumnSize() );
    std::uint32_t firstLine = 0;
    for ( const auto& image : inImages )
    {
        for ( const auto& page : image.pages )
            for ( std::size_t i = 0; i < page.GetObjectCount(); ++i )
            {
                const std::uint32_t line = i < page.GetOuterCount() ? 0 : 1;
                imageLine->AppendValue( firstLine + line, true );
                totalLine->AppendValue( line, true );
            }
        firstLine += inLinesPerImage;
    }
    XPivotTable rows;
    rows.AddColumn( std::move( imageLine ) );
    rows.AddColumn( std::move( totalLine ) );
    rows.AddColumn( std::move( pixelCount ) );
    rows.AddColumn( std::move( mean ) );
    return rows;
}

/// The largest present number of each line.
std::vector<double> FindMaxima( const XPivotColumn& inLines, const XPivotColumn& inValues )
{
    std::vector<double> maxima;
    for ( std::uint32_t row = 0; row < inValues.GetColumnSize(); ++row )
    {
        const auto line = static_cast<std::size_t>( inLines.GetDataFloat( row ) );
        maxima.resize( std::max( maxima.size(), line + 1 ), -std::numeric_limits<double>::infinity() );
        if ( inValues.DoesDataExist( row ) )
            maxima[line] = std::fmax( maxima[line], inValues.GetDataFloat( row ) );
    }
    return maxima;
}

/// Computes the maxima from the values: an accumulator returns a tiny positive number if all of them are
/// below it.
void SetMaxima( const XPivotTable& inRows, Column inLine, XPivotTable& ioPivot )
{
    std::uint32_t result = 1 + kResultMax;
    for ( const auto value : { kPixelCount, kMean } )
    {
        const auto maxima = FindMaxima( inRows.GetColumn( inLine ), inRows.GetColumn( value ) );
        auto& column = ioPivot.GetColumn( result );
        for ( std::uint32_t row = 0; row < ioPivot.GetNumRows(); ++row )
        {
            const auto line = static_cast<std::size_t>( ioPivot.GetColumn( 0 ).GetDataFloat( row ) );
            column.SetData( maxima[line], static_cast<std::int32_t>( row ), column.DoesDataExist( row ) );
        }
        result += kResultsPerValue;
    }
}

XPivotTable PivotByLine( const XPivotTable& inRows, Column inLine )
{
    Accumulator accumulator( Accumulator::kAccumulateMean );
    accumulator.AddType( Accumulator::kAccumulateCount );
    accumulator.AddType( Accumulator::kAccumulateMinMax );
    accumulator.AddType( Accumulator::kAccumulateVarSD );
    auto pivot = inRows.Pivot( { inLine }, {}, { { kPixelCount, accumulator }, { kMean, accumulator } } );
    SetMaxima( inRows, inLine, pivot );
    return pivot;
}

/// Completes the lines of those names; one that the pivot has no row for is of no objects.
void AppendLines(
    const XPivotTable& inPivot, const std::vector<std::string>& inNames, std::vector<Line>& ioLines )
{
    const auto firstLine = ioLines.size();
    for ( const auto& name : inNames )
    {
        ioLines.push_back( { name, "0" } );
        ioLines.back().resize( 2 + 2 * kShown.size() );
    }
    const auto getText = [&]( std::uint32_t inRow, std::uint32_t inValue, Result inResult )
    {
        const auto& column = inPivot.GetColumn( 1 + inValue * kResultsPerValue + inResult );
        return column.DoesDataExist( inRow ) ? XPivotText::ToUTF8( column.GetDataString( inRow ) )
                                             : std::string();
    };
    for ( std::uint32_t row = 0; row < inPivot.GetNumRows(); ++row )
    {
        const auto number = static_cast<std::size_t>( inPivot.GetColumn( 0 ).GetDataFloat( row ) );
        auto field = ioLines[firstLine + number].begin() + 1;
        *field++ = getText( row, 0, kResultCount );
        for ( const std::uint32_t value : { 0u, 1u } )
            for ( const auto result : kShown )
                *field++ = getText( row, value, result );
    }
}

std::vector<Line> MakeHeads( const XPivotColumn& inPixelCount, const XPivotColumn& inMean )
{
    std::vector<Line> heads{ { "", "" }, { "Image", "Objects" } };
    for ( const auto* column : { &inPixelCount, &inMean } )
        for ( std::size_t i = 0; i < kHeads.size(); ++i )
        {
            heads[0].push_back( i == 0 ? XPivotText::ToUTF8( column->GetDisplayName() ) : std::string() );
            heads[1].push_back( kHeads[i] );
        }
    return heads;
}
} // namespace

void PrintSummary(
    const std::vector<XImageMeasurement>& inImages, XPivotTable inTable, std::uint32_t inChannel,
    std::ostream& ioOut )
{
    const auto hasParents = inTable.FindColumn( DescribeColumn( kPivotParentID ) ) != nullptr;
    std::vector<std::string> imageNames, totalNames;
    const auto addName = [&]( std::vector<std::string>& ioNames, const std::string& inName )
    {
        ioNames.push_back( inName );
        if ( hasParents )
            ioNames.push_back( "  inside" );
    };
    for ( const auto& image : inImages )
        addName( imageNames, image.name );
    addName( totalNames, "All" );

    const auto rows = MakeRows( inImages, hasParents ? 2 : 1, std::move( inTable ), inChannel );
    auto lines = MakeHeads( rows.GetColumn( kPixelCount ), rows.GetColumn( kMean ) );
    AppendLines( PivotByLine( rows, kImageLine ), imageNames, lines );
    AppendLines( PivotByLine( rows, kTotalLine ), totalNames, lines );

    std::vector<AlignedColumn> texts;
    for ( std::size_t i = 0; i < lines[0].size(); ++i )
        texts.push_back( { i > 0, [&lines, i]( std::uint32_t inRow ) { return lines[inRow][i]; } } );
    AlignedText( texts, static_cast<std::uint32_t>( lines.size() ) ).Print( ioOut );
}
