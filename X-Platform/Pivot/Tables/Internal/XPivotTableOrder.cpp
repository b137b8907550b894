#include "Pivot/Tables/Internal/XPivotTableOrder.h"

#include "Pivot/Columns/XPivotReferenceColumn.h"
#include "Pivot/Rows/Internal/XPivotRowOrder.h"

namespace
{
/// True when the rows are all rows of a column in their order, so that its values need not be picked.
bool AreAllInOrder( const XVector<std::uint32_t>& inRows, std::size_t inCount )
{
    if ( inRows.size() != inCount )
        return false;
    std::uint32_t differences = 0;
    for ( std::uint32_t row = 0; row < inCount; ++row )
        differences |= inRows[row] ^ row;
    return differences == 0;
}

/// `inValues[k]` belongs to row `ioRows[k]`.
template<class T>
void SortByValues(
    const XVector<T>& inValues, XPivotSortDirection inDirection, XVector<std::uint32_t>& ioRows )
{
    XVector<std::uint32_t> order;
    XSortPivotRows( inValues, inDirection, order );
    for ( std::uint32_t& place : order )
        place = ioRows[place];
    ioRows.swap( order );
}

template<class T, class TGetValue>
void SortPicked( TGetValue inGetValue, XPivotSortDirection inDirection, XVector<std::uint32_t>& ioRows )
{
    XVector<T> values( ioRows.size() );
    for ( std::size_t i = 0; i < values.size(); ++i )
        values[i] = inGetValue( ioRows[i] );
    SortByValues( values, inDirection, ioRows );
}
} // namespace

bool XIsOrderedByNumbers( const XPivotColumn& inColumn )
{
    return dynamic_cast<const XPivotReferenceColumn*>( &inColumn ) != nullptr;
}

void XSortPivotTableRows(
    const XPivotColumn& inColumn, XPivotSortDirection inDirection, XVector<std::uint32_t>& ioRows )
{
    if ( XIsOrderedByNumbers( inColumn ) )
    {
        const auto getNumber = [&]( std::uint32_t inRow ) { return inColumn.GetDataFloat( inRow ); };
        return SortPicked<double>( getNumber, inDirection, ioRows );
    }
    // A column without values leaves the rows as they are.
    XUsePivotValues(
        inColumn,
        [&]<class T>( const XPivotColumnT<T>& inTyped )
        {
            const XVector<T>& values = inTyped.GetDataVector();
            if ( AreAllInOrder( ioRows, values.size() ) )
                return SortByValues( values, inDirection, ioRows );
            SortPicked<T>( [&]( std::uint32_t inRow ) { return values[inRow]; }, inDirection, ioRows );
        } );
}
