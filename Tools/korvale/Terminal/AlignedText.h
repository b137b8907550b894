#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// A column of text whose cells are asked for as they are needed, so that a large table need not be held twice.
struct AlignedColumn
{
    bool isRightAligned = false;
    std::function<std::string( std::uint32_t inRow )> getCell; ///< UTF-8 without line breaks.
};

/// Rows of cells in columns as wide as their widest cell.
class AlignedText
{
public:
    /// Goes through all cells for their widths.
    AlignedText( std::vector<AlignedColumn> inColumns, std::uint32_t inRowCount );

    void Print( std::ostream& ioOut ) const;

private:
    std::vector<AlignedColumn> itsColumns;
    std::uint32_t itsRowCount;
    std::vector<std::size_t> itsWidths;

    std::string MakeLine( std::uint32_t inRow ) const;
};
