#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// A column of text whose cells are computed on demand, so that a large table is not held in memory twice.
struct AlignedColumn
{
    bool isRightAligned = false;
    std::function<std::string( std::uint32_t inRow )> getCell; ///< UTF-8 without line breaks
};

/// Rows of cells in columns as wide as their widest cells.
class AlignedText
{
public:
    /// Visits all cells to determine the widths.
    AlignedText( std::vector<AlignedColumn> inColumns, std::uint32_t inRowCount );

    void Print( std::ostream& ioOut ) const;

private:
    std::vector<AlignedColumn> itsColumns;
    std::uint32_t itsRowCount;
    std::vector<std::size_t> itsWidths;

    std::string MakeLine( std::uint32_t inRow ) const;
};
