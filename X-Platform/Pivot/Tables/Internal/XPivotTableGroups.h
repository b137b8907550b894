#pragma once

#include "Ground/XTypes.h"

class XPivotColumn;

/// Rows put together by the values that they hold in key columns. Internal.
struct XPivotTableGroups
{
    XVector<std::uint32_t> groups;    ///< of each row
    XVector<std::uint32_t> firstRows; ///< of each group

    std::uint32_t GetCount() const { return static_cast<std::uint32_t>( firstRows.size() ); }
};

/// How many bits of a hash tell groups apart before values are compared; all, but in tests.
inline constexpr std::uint64_t kAllHashBits = ~std::uint64_t( 0 );

/// The groups in the order in which they first occur. Without keys all rows are one group.
KORVALE_API XPivotTableGroups XGroupPivotTableRows(
    const XVector<const XPivotColumn*>& inKeys, std::uint32_t inRowCount,
    std::uint64_t inHashBits = kAllHashBits );

/// Numbers the groups anew, in the order of their keys; the first key decides first.
void XSortPivotTableGroups( const XVector<const XPivotColumn*>& inKeys, XPivotTableGroups& ioGroups );
