#include "Pivot/Columns/XPivotUnknownColumn.h"

#include "Core/Streams/XStreamFields.h"
#include "Ground/XErrorNumbers.h"
#include "Pivot/Rows/Internal/XPivotRuns.h"

#include <numeric>

// A column that has rows but no values: itsRowCount takes the place of the flags, which stay empty, so every
// row counts as missing and none of the operations on values has anything to do.

void XPivotUnknownColumn::InsertEmptyRows( std::uint32_t inRowIndex, std::uint32_t inCount )
{
    XAssert( inRowIndex <= GetColumnSize() );
    XAssert( USize( itsRowCount ) + inCount <= kMaxRows );
    itsRowCount += inCount;
}

void XPivotUnknownColumn::ResizeRows( std::uint32_t inRowCount )
{
    XAssert( inRowCount <= kMaxRows );
    itsRowCount = inRowCount;
}

void XPivotUnknownColumn::DeleteItems( std::uint32_t inFirst, std::uint32_t inCount )
{
    XAssert( USize( inFirst ) + inCount <= GetColumnSize() );
    itsRowCount -= inCount;
}

double XPivotUnknownColumn::GetDataFloat( std::uint32_t ) const
{
    return 0.0;
}
XString XPivotUnknownColumn::GetDataString( std::uint32_t ) const
{
    return "N/A";
}
std::int32_t XPivotUnknownColumn::FindDataFloat( double ) const
{
    return -1;
}

void XPivotUnknownColumn::Sort( XPivotSortDirection, XVector<std::uint32_t>& outOrder )
{
    outOrder.resize( itsRowCount );
    std::iota( outOrder.begin(), outOrder.end(), 0u );
}

void XPivotUnknownColumn::RemoveDuplicates( XVector<std::uint32_t>& outRows )
{
    outRows.clear(); // no row is present
    itsRowCount = 0;
}

bool XPivotUnknownColumn::RemoveNaNs( XVector<std::uint32_t>& outRows )
{
    Sort( kSortAscending, outRows );
    return false;
}

void XPivotUnknownColumn::DuplicateAllValues( std::uint32_t inCount, bool )
{
    XAssert( USize( itsRowCount ) * inCount <= kMaxRows );
    itsRowCount *= inCount;
}

void XPivotUnknownColumn::Reorder( const XVector<std::uint32_t>& inOrder )
{
    for ( const std::uint32_t row : inOrder )
        XAssert( row < itsRowCount );
    itsRowCount = static_cast<std::uint32_t>( inOrder.size() );
}

bool XPivotUnknownColumn::DoesPass( std::uint32_t, XPivotFilterRelationship, double ) const
{
    return false;
}
bool XPivotUnknownColumn::DoesPass( std::uint32_t, XPivotFilterRelationship, const XString& ) const
{
    return false;
}
bool XPivotUnknownColumn::DoesPass( std::uint32_t, XPivotFilterRelationship, std::int32_t ) const
{
    return false;
}

// ---- Storage

USize64 XPivotUnknownColumn::GetStreamUsage() const
{
    return XPivotColumn::GetStreamUsage() + 2 * sizeof( std::uint32_t );
}

void XPivotUnknownColumn::ReadStream2( XStream& inStream, XOptions inOptions )
{
    XPivotColumn::ReadStream2( inStream, inOptions );
    ReadCheckedVersion( inStream, GetVersion() );
    const std::uint32_t rowCount = XReadField32( inStream, "Rows without values" );
    const std::size_t flagCount = GetExistsVector().size();
    if ( flagCount != 0 && flagCount != rowCount )
        XRefuse(
            inStream, kErrorStreamCorrupted,
            [] { return "these are not as many rows as there are exists flags"; } );
    if ( rowCount > kMaxRows )
        XRefuse(
            inStream, kErrorStreamCorrupted, [] { return "these are more rows than a column can have"; } );
    GetExists().clear(); // no row has a value, whatever the flags say
    itsRowCount = rowCount;
}

void XPivotUnknownColumn::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    XPivotColumn::WriteStream2( inStream, inOptions );
    inStream.WriteVersion( GetVersion() );
    inStream.Write32( itsRowCount );
}

// There are no runs.
void XPivotUnknownColumn::ReadSparseColumnDataSelf( XStream&, USize, USize )
{
    XThrow( kErrorStreamCorrupted );
}
void XPivotUnknownColumn::WriteSparseColumnDataSelf( XStream&, USize, USize ) const {}
