#include "Pivot/XPivotTable.h"

#include "Core/XClassRegistry.h"
#include "Core/XStream.h"
#include "Pivot/XPivotRowOrder.h"

#include <utility>

namespace
{
bool IsSameColumn( const XPivotColumnDescriptor& inLeft, const XPivotColumnDescriptor& inRight )
{
    if ( inLeft.GetID() == kPivotUserDefined )
        return inLeft == inRight;
    return inLeft.GetID() == inRight.GetID() && inLeft.GetChannelName() == inRight.GetChannelName() &&
        inLeft.GetUnits() == inRight.GetUnits();
}

XVector<std::uint32_t> ToRows( const XVector<std::int32_t>& inRows )
{
    return XVector<std::uint32_t>( inRows.begin(), inRows.end() );
}
} // namespace

XPivotTable::XPivotTable( const XPivotTable& inOther ) : XStorable( inOther )
{
    XColumns columns;
    for ( const auto& column : inOther.itsColumns )
        columns.emplace_back( column->Clone() );
    TakeColumns( std::move( columns ) );
}

XPivotTable& XPivotTable::operator=( const XPivotTable& inOther )
{
    if ( this != &inOther )
        *this = XPivotTable( inOther );
    return *this;
}

XPivotTable::XPivotTable( XPivotTable&& inOther ) noexcept
{
    TakeColumns( std::move( inOther.itsColumns ) );
}

XPivotTable& XPivotTable::operator=( XPivotTable&& inOther ) noexcept
{
    if ( this != &inOther )
        TakeColumns( std::exchange( inOther.itsColumns, {} ) );
    return *this;
}

XPivotTable::~XPivotTable() = default;

void XPivotTable::TakeColumns( XColumns&& inColumns )
{
    itsColumns = std::move( inColumns );
    for ( const auto& column : itsColumns )
        column->SetTable( *this );
}

// ---- Columns

std::uint32_t XPivotTable::GetNumRows() const
{
    return itsColumns.empty() ? 0 : itsColumns.front()->GetColumnSize();
}

XPivotColumn& XPivotTable::InsertColumn( std::uint32_t inIndex, std::unique_ptr<XPivotColumn> inColumn )
{
    XAssert( inColumn );
    XAssert( inIndex <= GetNumColumns() );
    XAssert( itsColumns.empty() || inColumn->GetColumnSize() == GetNumRows() );
    XPivotColumn& column = *inColumn;
    itsColumns.insert( itsColumns.begin() + inIndex, std::move( inColumn ) );
    column.SetTable( *this );
    return column;
}

std::unique_ptr<XPivotColumn> XPivotTable::RemoveColumn( std::uint32_t inIndex )
{
    XAssert( inIndex < GetNumColumns() );
    std::unique_ptr<XPivotColumn> column = std::move( itsColumns[inIndex] );
    itsColumns.erase( itsColumns.begin() + inIndex );
    column->itsTable = nullptr;
    return column;
}

XPivotColumn& XPivotTable::GetColumn( std::uint32_t inIndex )
{
    XAssert( inIndex < GetNumColumns() );
    return *itsColumns[inIndex];
}

const XPivotColumn& XPivotTable::GetColumn( std::uint32_t inIndex ) const
{
    XAssert( inIndex < GetNumColumns() );
    return *itsColumns[inIndex];
}

std::int32_t XPivotTable::FindColumnIndex( const XPivotColumnDescriptor& inDescriptor ) const
{
    for ( std::uint32_t i = 0; i < GetNumColumns(); ++i )
    {
        if ( IsSameColumn( itsColumns[i]->GetDescriptor(), inDescriptor ) )
            return static_cast<std::int32_t>( i );
    }
    return -1;
}

const XPivotColumn* XPivotTable::FindColumn( const XPivotColumnDescriptor& inDescriptor ) const
{
    const std::int32_t index = FindColumnIndex( inDescriptor );
    return index < 0 ? nullptr : itsColumns[static_cast<std::size_t>( index )].get();
}

XPivotColumn* XPivotTable::FindColumn( const XPivotColumnDescriptor& inDescriptor )
{
    return const_cast<XPivotColumn*>( std::as_const( *this ).FindColumn( inDescriptor ) );
}

// ---- Rows

void XPivotTable::InsertEmptyRows( std::uint32_t inRow, std::uint32_t inCount )
{
    for ( const auto& column : itsColumns )
        column->InsertEmptyRows( inRow, inCount );
}

void XPivotTable::Append( const XPivotTable& inOther )
{
    if ( &inOther == this )
        return Append( XPivotTable( inOther ) );
    const std::uint32_t rows = GetNumRows();
    const std::uint32_t columns = GetNumColumns();
    try
    {
        AppendRows( inOther );
    }
    catch ( ... )
    {
        // A text that is no number where a column of numbers is, for one.
        itsColumns.resize( columns );
        for ( const auto& column : itsColumns )
            column->ResizeRows( rows );
        throw;
    }
}

void XPivotTable::AppendRows( const XPivotTable& inOther )
{
    const std::uint32_t rows = GetNumRows();
    for ( const auto& column : itsColumns )
    {
        if ( const XPivotColumn* other = inOther.FindColumn( column->GetDescriptor() ) )
            *column += *other;
        else
            column->InsertEmptyRows( rows, inOther.GetNumRows() );
    }
    for ( const auto& other : inOther.itsColumns )
    {
        if ( FindColumn( other->GetDescriptor() ) )
            continue;
        std::unique_ptr<XPivotColumn> column( other->CloneWithoutCopy() );
        column->InsertEmptyRows( 0, rows );
        *column += *other;
        AddColumn( std::move( column ) );
    }
}

void XPivotTable::DeleteRows( std::uint32_t inFirst, std::uint32_t inCount )
{
    for ( const auto& column : itsColumns )
        column->DeleteItems( inFirst, inCount );
}

void XPivotTable::DeleteRows( const XVector<std::uint32_t>& inRows )
{
    KeepRows( XListOtherRows( GetNumRows(), inRows ) );
}

void XPivotTable::KeepRows( const XVector<std::uint32_t>& inRows )
{
    for ( const auto& column : itsColumns )
        column->Reorder( inRows );
}

void XPivotTable::Sort(
    std::uint32_t inColumn, XPivotSortDirection inDirection, XVector<std::uint32_t>* outOrder )
{
    XPivotColumn& sorted = GetColumn( inColumn );
    XVector<std::uint32_t> order;
    sorted.Sort( inDirection, order );
    for ( const auto& column : itsColumns )
    {
        if ( column.get() != &sorted )
            column->Reorder( order );
    }
    if ( outOrder )
        outOrder->swap( order );
}

XVector<std::uint32_t> XPivotTable::FindRows(
    std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference ) const
{
    return ToRows( GetColumn( inColumn ).Filter( inRelationship, inReference ) );
}

XVector<std::uint32_t> XPivotTable::FindRows(
    std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    return ToRows( GetColumn( inColumn ).Filter( inRelationship, inReference ) );
}

void XPivotTable::FilterRows(
    std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference )
{
    KeepRows( FindRows( inColumn, inRelationship, inReference ) );
}

void XPivotTable::FilterRows(
    std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference )
{
    KeepRows( FindRows( inColumn, inRelationship, inReference ) );
}

// ---- Storage

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

void XPivotTable::WriteColumn( XStream& inStream, const XPivotColumn& inColumn, XOptions inOptions )
{
    const SSize64 lengthPosition = inStream.GetPosition();
    inStream.Write64( 0 );
    const SSize64 start = inStream.GetPosition();
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
    {
        columns.push_back( ReadColumn( inStream, inOptions ) );
        if ( columns.back()->GetColumnSize() != columns.front()->GetColumnSize() )
            XThrow( 1005 );
    }
    TakeColumns( std::move( columns ) );
}

std::unique_ptr<XPivotColumn> XPivotTable::ReadColumn( XStream& inStream, XOptions inOptions )
{
    const std::uint64_t length = inStream.Read64();
    inStream.CheckRemaining( length, 1 );
    const SSize64 start = inStream.GetPosition();
    // Asked before the object is made, so that a file cannot nest tables in the place of columns.
    const XVersion version = inStream.PeekVersion();
    if ( XClassRegistry::IsRegistered( version ) &&
         !XClassRegistry::IsA( version, XPivotColumn::GetClassVersion() ) )
        XThrow( 1005 );
    std::unique_ptr<XStorable> object( inStream.ReadObject( inOptions ) );
    auto* column = dynamic_cast<XPivotColumn*>( object.get() );
    if ( !column || static_cast<std::uint64_t>( inStream.GetPosition() - start ) != length )
        XThrow( 1005 );
    object.release();
    return std::unique_ptr<XPivotColumn>( column );
}
