#pragma once

#include "Pivot/Accumulators/XPivotTableAccumulator.h"
#include "Pivot/Tables/Internal/XPivotTableGroups.h"

#include <memory>

/// The cells of a pivot: each row of a table falls into one, and each cell's rows are reduced by themselves.
/// Cells are numbered row group by row group. Internal.
class XPivotTableCells
{
public:
    /// Takes the row groups' list of the groups of rows. Throws 1012 for more than `inMostCells` cells.
    XPivotTableCells(
        XPivotTableGroups& ioRowGroups, const XPivotTableGroups& inColumnGroups, std::uint32_t inMostCells );

    /// The result columns of a value: for each column group those of the accumulator's column strings, with
    /// one row for each row group. They are headed by the column string alone.
    XVector<std::unique_ptr<XPivotColumn>>
    Accumulate( const XPivotColumn& inValues, const XPivotTableAccumulator& inAccumulator ) const;

    /// For each column group a column of the values' class, with the value of the only present row of each of its
    /// cells. Cells without one and with several are missing.
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
    XVector<std::uint32_t> itsCells;  // of each row
    XVector<std::uint32_t> itsStarts; // of each cell among the rows in cell order; and the number of rows
};

/// In place of a row: none.
inline constexpr std::uint32_t kNoPivotRow = 0xFFFFFFFF;

/// A column of the class that a column has in pivots, with copies of the rows listed; missing ones, and
/// kNoPivotRow, are missing.
std::unique_ptr<XPivotColumn>
XPickPivotTableRows( const XPivotColumn& inColumn, const XVector<std::uint32_t>& inRows );
