#pragma once

#include "Core/XString.h"
#include "Pivot/XPivotTableTypes.h"

/// How filters collect the rows that pass. Internal.

/// The text of a number, as columns show it.
inline XString XFormatPivotNumber( double inNumber )
{
    return XString( inNumber, XString::kFloatAuto, 1 );
}

/// Rows with a flag for which `inPasses( row )` is true, ascending. Calls it for no other rows, and without
/// branching on its answers.
template<class TPredicate>
XVector<std::int32_t> XCollectPivotRows( const XVector<std::uint8_t>& inExists, TPredicate inPasses )
{
    constexpr std::size_t kChunk = 4096;
    std::int32_t found[kChunk];
    XVector<std::int32_t> rows;
    for ( std::size_t first = 0; first < inExists.size(); first += kChunk )
    {
        const std::size_t end = std::min( first + kChunk, inExists.size() );
        std::size_t count = 0;
        for ( std::size_t row = first; row < end; ++row )
        {
            found[count] = static_cast<std::int32_t>( row );
            count += inExists[row] && inPasses( static_cast<std::uint32_t>( row ) );
        }
        rows.insert( rows.end(), found, found + count );
    }
    return rows;
}

/// Rows with a flag whose number passes, ascending. Every relationship but kFilterContains, which is an
/// internal error
/// ("false") as a number above 6 is.
XVector<std::int32_t> XFilterPivotRows(
    const XVector<std::uint8_t>& inExists, const XVector<double>& inValues,
    XPivotFilterRelationship inRelationship, double inReference );

/// The same with the instructions that every processor has; for tests.
KORVALE_API XVector<std::int32_t> XFilterPivotRowsPortably(
    const XVector<std::uint8_t>& inExists, const XVector<double>& inValues,
    XPivotFilterRelationship inRelationship, double inReference );
