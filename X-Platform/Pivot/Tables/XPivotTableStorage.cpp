#include "Pivot/Tables/XPivotTable.h"

#include "Core/Streams/XClassRegistry.h"
#include "Core/Streams/XStreamFields.h"
#include "Ground/XErrorNumbers.h"
#include "Pivot/Columns/XPivotOpaqueColumn.h"
#include "Pivot/Tables/Internal/XPivotTableReferences.h"

#include <optional>
#include <utility>

// Each column is stored behind its length in bytes, so a column of a class that is not known can be kept as
// bytes (XPivotOpaqueColumn) and a wrong one is found at its end rather than by misreading the next. The
// length is not known before the column has been written: it is written as 0 first and then filled in.
//
// A column of an unknown class may not tell its number of rows, if it stores its flags in another way; it
// then takes the number of the others.

namespace
{
/// The column as one of an unknown class that still has its contents, or null.
const XPivotOpaqueColumn* FindContents( const XPivotColumn& inColumn )
{
    const auto* opaque = dynamic_cast<const XPivotOpaqueColumn*>( &inColumn );
    return opaque && opaque->HasContents() ? opaque : nullptr;
}

/// The column as one that does not tell its number of rows, or null.
const XPivotOpaqueColumn* FindOpen( const XPivotColumn& inColumn )
{
    const auto* opaque = dynamic_cast<const XPivotOpaqueColumn*>( &inColumn );
    return opaque && opaque->TakesAnyRowCount() ? opaque : nullptr;
}

/// The number of rows according to the first column that stores it.
std::optional<std::uint32_t> FindRowCount( const XVector<std::unique_ptr<XPivotColumn>>& inColumns )
{
    for ( const auto& column : inColumns )
        if ( !FindOpen( *column ) )
            return column->GetColumnSize();
    return std::nullopt;
}

std::string DescribeColumn( std::size_t inIndex )
{
    return "column " + std::to_string( inIndex );
}

std::unique_ptr<XPivotColumn>
ReadColumnObject( XStream& inStream, std::uint64_t inLength, XStorable::XOptions inOptions )
{
    const XVersion version = inStream.PeekVersion();
    if ( XClassRegistry::IsRegistered( version ) || version.GetClassID() == kClassNone ||
         inStream.IsOldStream() )
        return inStream.ReadObjectOf<XPivotColumn>( inOptions );
    auto column = std::make_unique<XPivotOpaqueColumn>();
    column->ReadContents( inStream, inLength );
    return column;
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
    for ( std::uint32_t left = XReadField32( inStream, "Columns" ); left > 0; --left )
        ReadColumn( inStream, inOptions, columns );
    // Into a local list first: a table that cannot be read stays as it was.
    SettleRowCounts( columns );
    TakeColumns( std::move( columns ) );
    XPivotTableReferences::TakeOver( *this );
}

/// Columns that do not tell their number of rows take that of those that do.
void XPivotTable::SettleRowCounts( const XColumns& inColumns )
{
    const std::uint32_t rowCount = FindRowCount( inColumns ).value_or( 0 );
    for ( const auto& column : inColumns )
        if ( FindOpen( *column ) )
            static_cast<XPivotOpaqueColumn&>( *column ).TakeRowCount( rowCount );
}

void XPivotTable::ReadColumn( XStream& inStream, XOptions inOptions, XColumns& ioColumns )
{
    const auto name = [&] { return DescribeColumn( ioColumns.size() ); };
    XBeginField( inStream, [&] { return "the length of " + name(); } );
    const std::uint64_t length = inStream.Read64();
    if ( !inStream.HasRemaining( length, 1 ) )
        XRefuse(
            inStream, kErrorEndOfFile,
            [&]
            {
                return name() + " claims " + std::to_string( length ) + " bytes, but the file has " +
                    std::to_string( inStream.GetRemaining() ) + " more";
            } );
    XEndField( inStream, [&] { return "Length of " + name() + ": " + std::to_string( length ); } );

    const SSize64 start = inStream.GetPosition();
    auto column = ReadColumnObject( inStream, length, inOptions );
    CheckRowCount( inStream, *column, ioColumns );
    XBeginField( inStream, [&] { return "the end of " + name(); } );
    const auto end = static_cast<std::uint64_t>( inStream.GetPosition() - start );
    if ( end != length )
        XRefuse(
            inStream, kErrorStreamCorrupted,
            [&]
            {
                return name() + " ends here after " + std::to_string( end ) + " bytes, not " +
                    std::to_string( length );
            } );
    ioColumns.push_back( std::move( column ) );
}

/// Columns that tell their number of rows have to agree.
void XPivotTable::CheckRowCount( XStream& inStream, const XPivotColumn& inColumn, const XColumns& inBefore )
{
    const auto before = FindRowCount( inBefore );
    const std::uint32_t rows = inColumn.GetColumnSize();
    if ( !before || rows == *before || FindOpen( inColumn ) )
        return;
    const bool isUnknown =
        inColumn.GetVersion() == XPivotUnknownColumn::GetClassVersion() && !FindContents( inColumn );
    if ( auto* const observer = inStream.GetObserver() )
        observer->ReturnToField( isUnknown ? "the field \"Rows without values\"" : "the exists flags" );
    XRefuse(
        inStream, kErrorStreamCorrupted,
        [&]
        {
            return isUnknown ? "the columns before this one have " + std::to_string( *before ) + " rows"
                             : DescribeColumn( inBefore.size() ) + " has " + std::to_string( rows ) +
                    " rows, the columns before it " + std::to_string( *before );
        } );
}
