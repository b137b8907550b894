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

/// Prints rows of cells in columns as wide as their widest cell.
void PrintAligned(
    const std::vector<AlignedColumn>& inColumns, std::uint32_t inRowCount, std::ostream& ioOut );
