#pragma once

#include "Pivot/Columns/XPivotColumnT.h"

/// Sorting of the rows of a table. Internal.

/// Calls `inUse` with the column as its XPivotColumnT, or returns false if it is not one.
template<class TUse>
bool XUsePivotValues( const XPivotColumn& inColumn, TUse inUse )
{
    const auto use = [&]<class T>( std::type_identity<T> )
    {
        const auto* column = dynamic_cast<const XPivotColumnT<T>*>( &inColumn );
        if ( column )
            inUse( *column );
        return column != nullptr;
    };
    return use( std::type_identity<double>() ) || use( std::type_identity<XString>() ) ||
        use( std::type_identity<std::uint32_t>() ) || use( std::type_identity<std::int32_t>() ) ||
        use( std::type_identity<XUUID>() ) || use( std::type_identity<XTime>() ) ||
        use( std::type_identity<XVersion>() );
}

/// True for a column that holds identifiers but is sorted by the numbers that it shows.
bool XIsOrderedByNumbers( const XPivotColumn& inColumn );

/// Sorts rows, each listed once, stably by the column's stored values in the order of the column's Sort.
void XSortPivotTableRows(
    const XPivotColumn& inColumn, XPivotSortDirection inDirection, XVector<std::uint32_t>& ioRows );
