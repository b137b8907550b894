#pragma once

#include "Pivot/Tables/XPivotTable.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// An array of one dimension in the form in which numpy stores it, whose items are made as they are needed.
struct NumpyArray
{
    std::string name; ///< UTF-8, for a file's name too.
    std::string type; ///< As numpy writes it: "<f8".
    std::uint64_t itemBytes = 0;
    std::uint32_t count = 0;
    /// Appends the bytes of the items from the first up to, but not including, the end.
    std::function<void( std::uint64_t inFirst, std::uint64_t inEnd, std::string& ioBytes )> append;

    /// What stands before the items.
    std::string MakeHeader() const;
};

/// For each column of the table, which outlives them: its values, as "NAME.mask" whether they are missing, and for
/// references to objects as "NAME.uuid" their identifiers. NAME heads the column; further columns of one name have a
/// number behind it.
std::vector<NumpyArray> MakeNumpyArrays( const XPivotTable& inTable );
