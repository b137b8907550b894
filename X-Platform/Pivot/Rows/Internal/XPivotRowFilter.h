#pragma once

#include "Pivot/Rows/Internal/XPivotComparison.h"

/// Functions that collect the rows that pass a filter. Internal.

/// The present rows for which `inPasses( row )` is true, ascending. Calls it for present rows only, without
/// branching on its result.
template<class TPredicate>
XVector<std::int32_t> XCollectPivotRows( const XVector<std::uint8_t>& inExists, TPredicate inPasses )
{
    constexpr std::size_t kChunk = 4096;
    std::int32_t found[kChunk];
    XVector<std::int32_t> rows;
    for ( std::size_t first = 0; first < inExists.size(); first += kChunk )
    {
        const std::size_t end = ( std::min )( first + kChunk, inExists.size() );
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

/// The present rows whose value, as a double, passes, ascending. kFilterContains and values above 6 are an
/// internal error ("false").
template<class T>
XVector<std::int32_t> XFilterPivotRows(
    const XVector<std::uint8_t>& inExists, const XVector<T>& inValues,
    XPivotFilterRelationship inRelationship, double inReference )
{
    return XWithPivotComparison(
        inRelationship,
        [&]( auto inCompares )
        {
            return XCollectPivotRows(
                inExists,
                [&]( std::uint32_t inRow )
                { return inCompares( static_cast<double>( inValues[inRow] ), inReference ); } );
        } );
}

/// As above for doubles; uses vector instructions if the processor has them.
XVector<std::int32_t> XFilterPivotRows(
    const XVector<std::uint8_t>& inExists, const XVector<double>& inValues,
    XPivotFilterRelationship inRelationship, double inReference );
