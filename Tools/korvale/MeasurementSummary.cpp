#include "MeasurementSummary.h"

#include "AlignedText.h"
#include "Pivot/XPivotTableAccumulator.h"
#include "WCodePage.h"

#include <array>
#include <memory>

namespace
{
using Accumulator = XPivotTableAccumulator;
using Line = std::vector<std::string>;

/// Which of the accumulated values are shown, by their place in the result, in the order of the columns.
constexpr std::array<std::size_t, 4> kShown{ 0, 4, 1, 2 };
const std::array kHeads{ "Mean", "S.D.", "Min", "Max" };

std::string ToUTF8( const XString& inText )
{
    return WCodePage::AnsiToUTF8( inText.GetStringView() );
}

const XPivotColumn& GetColumn( const XPivotTable& inTable, XPivotColumnID inID, const XString& inChannel )
{
    const auto* column =
        inTable.FindColumn( XPivotColumnDescriptor( inID, XString(), inChannel, XString() ) );
    XAssert( column );
    return *column;
}

/// Appends the accumulated values of some rows of a column.
void Accumulate(
    const XPivotColumn& inColumn, std::uint32_t inFirstRow, std::uint32_t inRowCount, Line& ioLine )
{
    Accumulator accumulator( Accumulator::kAccumulateMean );
    accumulator.AddType( Accumulator::kAccumulateMinMax );
    accumulator.AddType( Accumulator::kAccumulateVarSD );

    const std::unique_ptr<XPivotColumn> rows( inColumn.CloneWithoutCopy() );
    inColumn.CopyRowsInto( inFirstRow, *rows, 0, inRowCount );
    const auto results = accumulator.AccumulateColumn( *rows );
    for ( const auto index : kShown )
        ioLine.push_back(
            results[index].isValid ? ToUTF8( XString( results[index].value ) ) : std::string() );
}

Line MakeLine(
    const std::string& inName, const std::array<const XPivotColumn*, 2>& inColumns, std::uint32_t inFirstRow,
    std::uint32_t inRowCount )
{
    Line line{ inName, std::to_string( inRowCount ) };
    for ( const auto* column : inColumns )
        Accumulate( *column, inFirstRow, inRowCount, line );
    return line;
}

std::vector<Line> MakeHeads( const std::array<const XPivotColumn*, 2>& inColumns )
{
    std::vector<Line> heads{ { "", "" }, { "Image", "Objects" } };
    for ( const auto* column : inColumns )
        for ( std::size_t i = 0; i < kHeads.size(); ++i )
        {
            heads[0].push_back( i == 0 ? ToUTF8( column->GetDisplayName() ) : std::string() );
            heads[1].push_back( kHeads[i] );
        }
    return heads;
}
} // namespace

void PrintSummary(
    const std::vector<ImageMeasurement>& inImages, const XPivotTable& inTable, std::uint32_t inChannel,
    std::ostream& ioOut )
{
    const std::array columns{
        &GetColumn( inTable, kPivotPixelCount, XString() ),
        &GetColumn( inTable, kPivotMean, XString( "C" ) + XString( inChannel + 1 ) ) };
    auto lines = MakeHeads( columns );
    std::uint32_t row = 0;
    for ( const auto& image : inImages )
    {
        const auto count = static_cast<std::uint32_t>( image.GetObjectCount() );
        lines.push_back( MakeLine( image.name, columns, row, count ) );
        row += count;
    }
    lines.push_back( MakeLine( "All", columns, 0, row ) );

    std::vector<AlignedColumn> texts;
    for ( std::size_t i = 0; i < lines[0].size(); ++i )
        texts.push_back( { i > 0, [&lines, i]( std::uint32_t inRow ) { return lines[inRow][i]; } } );
    AlignedText( texts, static_cast<std::uint32_t>( lines.size() ) ).Print( ioOut );
}
