#pragma once

#include "Ground/XTypes.h"

class XPivotColumn;

/// Rows grouped by their values in key columns. Internal.
struct XPivotTableGroups
{
    XVector<std::uint32_t> groups;    ///< of each row
    XVector<std::uint32_t> firstRows; ///< of each group

    std::uint32_t GetCount() const { return static_cast<std::uint32_t>( firstRows.size() ); }
};

/// The bits of a hash that are used to separate groups before values are compared; tests use fewer.
inline constexpr std::uint64_t kAllHashBits = ~std::uint64_t( 0 );

/// Groups in the order of their first rows. Without keys all rows are one group.
KORVALE_API XPivotTableGroups XGroupPivotTableRows(
    const XVector<const XPivotColumn*>& inKeys, std::uint32_t inRowCount,
    std::uint64_t inHashBits = kAllHashBits );

/// Renumbers the groups in the order of their keys; the first key is the most significant.
void XSortPivotTableGroups( const XVector<const XPivotColumn*>& inKeys, XPivotTableGroups& ioGroups );
