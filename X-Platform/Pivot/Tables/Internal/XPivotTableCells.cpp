#include "Pivot/Tables/Internal/XPivotTableCells.h"

#include "Ground/XErrorNumbers.h"
#include "Pivot/Columns/XPivotFloatColumn.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <utility>

// Counting sort by cell. The constructor counts the rows of each cell and turns the counts into the starts of
// the cells (prefix sums). For each value column, GatherNumbers then moves the numbers of present rows into
// cell order in one pass, so that an accumulator sees the numbers of one cell as a contiguous column
// (XCellColumn) and the cells need no lists of rows. The order within a cell is that of the rows, so results
// do not depend on the grouping.
//
// Reductions to numbers and the value of a single row are computed apart, because the latter keeps the class
// of the column, and are put together for each column group in the order of the accumulator's types:
// kAccumulateNone is the first one.

namespace
{
using XAccumulator = XPivotTableAccumulator;

/// The numbers of one cell, all present. They stay where they are.
class XCellColumn : public XPivotFloatColumn
{
public:
    void Refer( const double* inFirst, const double* inEnd )
    {
        itsNumbers = inFirst;
        GetExists().assign( static_cast<std::size_t>( inEnd - inFirst ), 1 );
    }

    XFloatBlock
    GetFloatBlock( std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ) const override
    {
        const std::uint32_t first = std::min( inFirstRow, GetColumnSize() );
        const std::uint32_t count = std::min( inMaxCount, GetColumnSize() - first );
        return { itsNumbers + first, GetExistsVector().data() + first, count };
    }

private:
    const double* itsNumbers = nullptr;
};

/// True if the first value of an aggregate has the units of its input.
bool KeepsUnits( XAccumulator::XPivotTableAccumulatorType inType )
{
    return inType != XAccumulator::kAccumulateProduct && inType != XAccumulator::kAccumulateCount &&
        inType != XAccumulator::kAccumulateVarSD;
}

/// The reductions that give numbers: all but the value of a single row.
std::optional<XAccumulator> SelectNumbers( const XAccumulator& inAccumulator )
{
    std::optional<XAccumulator> selected;
    for ( const auto type : inAccumulator.GetTypes() )
    {
        if ( type == XAccumulator::kAccumulateNone )
            continue;
        if ( selected )
            selected->AddType( type );
        else
            selected.emplace( type );
    }
    return selected;
}

bool HasSingleValues( const XAccumulator& inAccumulator )
{
    return inAccumulator.GetTypes().contains( XAccumulator::kAccumulateNone );
}

std::unique_ptr<XPivotColumn>
MakeNumberColumn( const XPivotColumn& inValues, const XString& inName, bool inHasUnits )
{
    return std::make_unique<XPivotFloatColumn>(
        kPivotUserDefined, inName, inValues.GetChannelName(), inHasUnits ? inValues.GetUnits() : XString() );
}

/// One column for each number of each reduction, without rows.
void AddNumberColumns(
    const XPivotColumn& inValues, const XAccumulator& inAccumulator,
    XVector<std::unique_ptr<XPivotColumn>>& ioColumns )
{
    for ( const auto type : inAccumulator.GetTypes() )
    {
        bool hasUnits = KeepsUnits( type );
        const XAccumulator accumulator( type );
        for ( const XString& name : accumulator.GetColumnStrings() )
        {
            ioColumns.push_back( MakeNumberColumn( inValues, name, hasUnits ) );
            hasUnits = true; // the standard deviation, after the variance
        }
    }
}

XPivotFloatColumn& AsNumbers( XPivotColumn& inColumn )
{
    return static_cast<XPivotFloatColumn&>( inColumn );
}
} // namespace

XPivotTableCells::XPivotTableCells(
    XPivotTableGroups& ioRowGroups, const XPivotTableGroups& inColumnGroups, std::uint32_t inMostCells )
    : itsNumRowGroups( ioRowGroups.GetCount() ), itsNumColumnGroups( inColumnGroups.GetCount() ),
      itsCells( std::move( ioRowGroups.groups ) )
{
    const std::uint64_t cells = std::uint64_t( itsNumRowGroups ) * itsNumColumnGroups;
    // Before anything of this size is allocated: two key columns with many values suffice to exceed the
    // memory.
    if ( cells > inMostCells )
        XThrow( kErrorOutOfMemory );
    for ( std::size_t row = 0; row < itsCells.size() && itsNumColumnGroups > 1; ++row )
        itsCells[row] = itsCells[row] * itsNumColumnGroups + inColumnGroups.groups[row];
    itsStarts.resize( static_cast<std::size_t>( cells ) + 1 );
    for ( const std::uint32_t cell : itsCells )
        ++itsStarts[cell + 1];
    std::partial_sum( itsStarts.begin(), itsStarts.end(), itsStarts.begin() );
}

XVector<std::unique_ptr<XPivotColumn>>
XPivotTableCells::Accumulate( const XPivotColumn& inValues, const XAccumulator& inAccumulator ) const
{
    XResultColumns singles;
    XResultColumns numbers;
    if ( HasSingleValues( inAccumulator ) )
        singles = MakeSingleValues( inValues );
    if ( const auto selected = SelectNumbers( inAccumulator ) )
        AddNumbers( inValues, *selected, numbers );
    XResultColumns columns;
    const std::size_t numbersPerGroup = numbers.size() / std::max( itsNumColumnGroups, 1u );
    for ( std::size_t group = 0, number = 0; group < itsNumColumnGroups; ++group )
    {
        if ( !singles.empty() )
            columns.push_back( std::move( singles[group] ) );
        for ( std::size_t i = 0; i < numbersPerGroup; ++i )
            columns.push_back( std::move( numbers[number++] ) );
    }
    return columns;
}

void XPivotTableCells::AddNumbers(
    const XPivotColumn& inValues, const XAccumulator& inAccumulator, XResultColumns& outColumns ) const
{
    for ( std::uint32_t group = 0; group < itsNumColumnGroups; ++group )
        AddNumberColumns( inValues, inAccumulator, outColumns );
    FillDefaultColumnValues( inAccumulator, outColumns );
    const auto numbers = std::make_unique_for_overwrite<double[]>( itsCells.size() );
    const XVector<std::uint32_t> ends = GatherNumbers( inValues, numbers.get() );
    XCellColumn cellValues;
    for ( std::uint32_t cell = 0; cell < GetNumCells(); ++cell )
    {
        if ( itsStarts[cell] == itsStarts[cell + 1] )
            continue;
        cellValues.Refer( numbers.get() + itsStarts[cell], numbers.get() + ends[cell] );
        AccumulateColumnAndAdd( cellValues, inAccumulator, cell, outColumns );
    }
}

/// The numbers of the present rows, sorted by cell; each cell has room for all its rows. Returns the end of
/// the numbers of each cell.
XVector<std::uint32_t>
XPivotTableCells::GatherNumbers( const XPivotColumn& inValues, double* outNumbers ) const
{
    XVector<std::uint32_t> ends = itsStarts;
    XVector<double> scratch;
    for ( std::uint32_t first = 0;; )
    {
        const auto block = inValues.GetFloatBlock( first, 0xFFFFFFFF, scratch );
        if ( block.count == 0 )
            return ends;
        for ( std::uint32_t i = 0; i < block.count; ++i )
        {
            // Written over by the next where the row is missing: taking no decision is faster.
            std::uint32_t& end = ends[itsCells[first + i]];
            outNumbers[end] = block.values[i];
            end += block.exists[i];
        }
        first += block.count;
    }
}

void XPivotTableCells::FillDefaultColumnValues(
    const XAccumulator& inAccumulator, XResultColumns& ioColumns ) const
{
    const auto defaults = inAccumulator.GetDefaultFloats();
    for ( std::size_t i = 0; i < ioColumns.size(); ++i )
    {
        const auto [isValid, value] = defaults[i % defaults.size()];
        if ( isValid )
            ioColumns[i]->SetData( XVector<double>( itsNumRowGroups, value ) );
        else
            ioColumns[i]->ResizeRows( itsNumRowGroups );
    }
}

void XPivotTableCells::AccumulateColumnAndAdd(
    const XPivotColumn& inCellValues, const XAccumulator& inAccumulator, std::uint32_t inCell,
    XResultColumns& ioColumns ) const
{
    const auto row = static_cast<std::int32_t>( inCell / itsNumColumnGroups );
    std::size_t column = inCell % itsNumColumnGroups * inAccumulator.GetNumValues();
    for ( const auto& result : inAccumulator.AccumulateColumn( inCellValues ) )
    {
        XPivotFloatColumn& numbers = AsNumbers( *ioColumns[column++] );
        numbers.SetValue( result.isValid ? result.value : numbers.GetDefaultValue(), row, result.isValid );
    }
}

// ---- Single values

/// The only present row of each cell, or kNoPivotRow.
XVector<std::uint32_t> XPivotTableCells::FindSingleRows( const XPivotColumn& inValues ) const
{
    XVector<std::uint32_t> rows( GetNumCells(), kNoPivotRow );
    XVector<std::uint8_t> isTaken( GetNumCells() );
    for ( std::uint32_t row = 0; row < itsCells.size(); ++row )
    {
        if ( !inValues.DoesDataExist( row ) )
            continue;
        const std::uint32_t cell = itsCells[row];
        // A second present row makes the cell ambiguous, and so missing.
        rows[cell] = isTaken[cell] ? kNoPivotRow : row;
        isTaken[cell] = 1;
    }
    return rows;
}

XPivotTableCells::XResultColumns XPivotTableCells::PickSingleValues( const XPivotColumn& inValues ) const
{
    const XVector<std::uint32_t> rowOfCell = FindSingleRows( inValues );
    XVector<std::uint32_t> rows( itsNumRowGroups );
    XResultColumns columns;
    for ( std::uint32_t group = 0; group < itsNumColumnGroups; ++group )
    {
        for ( std::size_t i = 0; i < rows.size(); ++i )
            rows[i] = rowOfCell[i * itsNumColumnGroups + group];
        columns.push_back( XPickPivotTableRows( inValues, rows ) );
    }
    return columns;
}

XPivotTableCells::XResultColumns XPivotTableCells::MakeSingleValues( const XPivotColumn& inValues ) const
{
    const XString head = XAccumulator( XAccumulator::kAccumulateNone ).GetStringDescription();
    XResultColumns columns = PickSingleValues( inValues );
    for ( const auto& column : columns )
    {
        column->SetID( kPivotUserDefined );
        column->SetColumnName( head );
    }
    return columns;
}

std::unique_ptr<XPivotColumn>
XPickPivotTableRows( const XPivotColumn& inColumn, const XVector<std::uint32_t>& inRows )
{
    std::unique_ptr<XPivotColumn> picked( inColumn.CloneWithoutCopyForPivot() );
    for ( const std::uint32_t row : inRows )
    {
        if ( inColumn.DoesDataExist( row ) )
            inColumn.CopyRowInto( row, *picked, picked->GetColumnSize() );
        else
            picked->InsertEmptyRows( picked->GetColumnSize(), 1 );
    }
    return picked;
}
