#pragma once

#include "Pivot/Tables/XPivotTable.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// A one-dimensional array in numpy's stored form, whose items are computed on demand.
struct NumpyArray
{
    std::string name; ///< UTF-8, also used as a file name
    std::string type; ///< in numpy's notation: "<f8"
    std::uint64_t itemBytes = 0;
    std::uint32_t count = 0;
    /// Appends the bytes of the items from `inFirst` to below `inEnd`.
    std::function<void( std::uint64_t inFirst, std::uint64_t inEnd, std::string& ioBytes )> append;

    /// The bytes before the items.
    std::string MakeHeader() const;
};

/// For each column of the table, which must outlive the arrays: its values, "NAME.mask" (true for missing
/// values), and for references to objects "NAME.uuid" with their identifiers. NAME is the heading of the
/// column; further columns with the same heading are numbered.
std::vector<NumpyArray> MakeNumpyArrays( const XPivotTable& inTable );
