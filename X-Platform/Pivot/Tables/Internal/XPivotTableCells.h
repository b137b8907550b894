#pragma once

#include "Pivot/Accumulators/XPivotTableAccumulator.h"
#include "Pivot/Tables/Internal/XPivotTableGroups.h"

#include <memory>

/// The cells of a pivot: each row of a table belongs to one cell, and the rows of each cell are aggregated
/// separately. Cells are numbered by row group, then by column group. Internal.
class XPivotTableCells
{
public:
    /// Takes over the list of groups from `ioRowGroups`. Throws 1012 for more than `inMostCells` cells.
    XPivotTableCells(
        XPivotTableGroups& ioRowGroups, const XPivotTableGroups& inColumnGroups, std::uint32_t inMostCells );

    /// The result columns of one value: for each column group one column per column string of the
    /// accumulator, with one row per row group. Their headings are the column strings alone.
    XVector<std::unique_ptr<XPivotColumn>>
    Accumulate( const XPivotColumn& inValues, const XPivotTableAccumulator& inAccumulator ) const;

    /// For each column group a column of the class of `inValues`, with the value of the only present row of
    /// each cell. A cell with no or several present rows is missing.
    XVector<std::unique_ptr<XPivotColumn>> PickSingleValues( const XPivotColumn& inValues ) const;

private:
    using XResultColumns = XVector<std::unique_ptr<XPivotColumn>>;

    std::uint32_t GetNumCells() const { return static_cast<std::uint32_t>( itsStarts.size() - 1 ); }

    void AddNumbers(
        const XPivotColumn& inValues, const XPivotTableAccumulator& inAccumulator,
        XResultColumns& outColumns ) const;
    XResultColumns MakeSingleValues( const XPivotColumn& inValues ) const;
    XVector<std::uint32_t> FindSingleRows( const XPivotColumn& inValues ) const;
    XVector<std::uint32_t> GatherNumbers( const XPivotColumn& inValues, double* outNumbers ) const;
    void
    FillDefaultColumnValues( const XPivotTableAccumulator& inAccumulator, XResultColumns& ioColumns ) const;
    void AccumulateColumnAndAdd(
        const XPivotColumn& inCellValues, const XPivotTableAccumulator& inAccumulator, std::uint32_t inCell,
        XResultColumns& ioColumns ) const;

    std::uint32_t itsNumRowGroups;
    std::uint32_t itsNumColumnGroups;
    XVector<std::uint32_t> itsCells; // of each row
    // start of each cell in the rows sorted by cell; then the number of rows
    XVector<std::uint32_t> itsStarts;
};

/// Stands for no row.
inline constexpr std::uint32_t kNoPivotRow = 0xFFFFFFFF;

/// A column of the class that `inColumn` has in pivots, with copies of the listed rows; missing rows and
/// kNoPivotRow become missing.
std::unique_ptr<XPivotColumn>
XPickPivotTableRows( const XPivotColumn& inColumn, const XVector<std::uint32_t>& inRows );
