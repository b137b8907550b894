#include "Pivot/Tables/XPivotTable.h"

#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XStream.h"
#include "Ground/XErrorNumbers.h"
#include "Pivot/Columns/XPivotOpaqueColumn.h"
#include "Pivot/Tables/Internal/XPivotTableReferences.h"

#include <algorithm>
#include <utility>

namespace
{
/// The column as one of an unknown class that still has its contents, or null.
const XPivotOpaqueColumn* FindContents( const XPivotColumn& inColumn )
{
    const auto* opaque = dynamic_cast<const XPivotOpaqueColumn*>( &inColumn );
    return opaque && opaque->HasContents() ? opaque : nullptr;
}
} // namespace

USize64 XPivotTable::GetStreamUsage() const
{
    USize64 usage = 2 * sizeof( std::uint32_t );
    for ( const auto& column : itsColumns )
        usage += sizeof( std::uint64_t ) + sizeof( std::uint32_t ) + column->GetStreamUsage();
    return usage;
}

void XPivotTable::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    inStream.WriteVersion( GetClassVersion() );
    inStream.Write32( GetNumColumns() );
    for ( const auto& column : itsColumns )
        WriteColumn( inStream, *column, inOptions );
}

XByteOrder XPivotTable::GetPreferredByteOrder() const
{
    for ( const auto& column : itsColumns )
    {
        if ( const auto* opaque = FindContents( *column ) )
            return opaque->GetByteOrder();
    }
    return kPlatformByteOrder;
}

void XPivotTable::WriteColumn( XStream& inStream, const XPivotColumn& inColumn, XOptions inOptions )
{
    const SSize64 lengthPosition = inStream.GetPosition();
    inStream.Write64( 0 );
    const SSize64 start = inStream.GetPosition();
    const auto* opaque = FindContents( inColumn );
    if ( opaque && opaque->GetByteOrder() == inStream.GetByteOrder() )
        opaque->WriteContents( inStream );
    else
        inStream.WriteObject( inColumn, inOptions );
    const SSize64 end = inStream.GetPosition();
    inStream.SeekTo( lengthPosition );
    inStream.Write64( static_cast<std::uint64_t>( end - start ) );
    inStream.SeekTo( end );
}

void XPivotTable::ReadStream2( XStream& inStream, XOptions inOptions )
{
    ReadCheckedVersion( inStream, GetClassVersion() );
    XColumns columns;
    for ( std::uint32_t left = inStream.Read32(); left > 0; --left )
        columns.push_back( ReadColumn( inStream, inOptions ) );
    SettleRowCounts( columns );
    TakeColumns( std::move( columns ) );
    XPivotTableReferences::TakeOver( *this );
}

/// Columns that do not tell their number of rows take that of those that do; these have to agree.
void XPivotTable::SettleRowCounts( const XColumns& inColumns )
{
    const auto findOpen = []( const std::unique_ptr<XPivotColumn>& inColumn )
    {
        auto* opaque = dynamic_cast<XPivotOpaqueColumn*>( inColumn.get() );
        return opaque && opaque->TakesAnyRowCount() ? opaque : nullptr;
    };
    const auto settled = std::ranges::find( inColumns, nullptr, findOpen );
    const std::uint32_t rowCount = settled == inColumns.end() ? 0 : ( *settled )->GetColumnSize();
    for ( const auto& column : inColumns )
    {
        if ( auto* open = findOpen( column ) )
            open->TakeRowCount( rowCount );
        if ( column->GetColumnSize() != rowCount )
            XThrow( kErrorStreamCorrupted );
    }
}

std::unique_ptr<XPivotColumn> XPivotTable::ReadColumn( XStream& inStream, XOptions inOptions )
{
    const std::uint64_t length = inStream.Read64();
    inStream.CheckRemaining( length, 1 );
    const SSize64 start = inStream.GetPosition();
    // Asked before the object is made, so that a file cannot nest tables in the place of columns.
    const XVersion version = inStream.PeekVersion();
    const bool isKnown = XClassRegistry::IsRegistered( version ) || version.GetClassID() == kClassNone;
    if ( !isKnown && !inStream.IsOldStream() )
    {
        auto column = std::make_unique<XPivotOpaqueColumn>();
        column->ReadContents( inStream, length );
        return column;
    }
    if ( isKnown && !XClassRegistry::IsA( version, XPivotColumn::GetClassVersion() ) )
        XThrow( kErrorStreamCorrupted );
    std::unique_ptr<XStorable> object( inStream.ReadObject( inOptions ) );
    auto* column = dynamic_cast<XPivotColumn*>( object.get() );
    if ( !column || static_cast<std::uint64_t>( inStream.GetPosition() - start ) != length )
        XThrow( kErrorStreamCorrupted );
    object.release();
    return std::unique_ptr<XPivotColumn>( column );
}
