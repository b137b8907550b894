#include "Pivot/Tables/XPivotTable.h"

#include "Pivot/Columns/XPivotOpaqueColumn.h"
#include "Pivot/Tables/Internal/XPivotTableReferences.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"

#include <string>
#include <unordered_map>
#include <utility>

// The table owns its columns, which all have the same number of rows. Columns of references are bound to the
// column of row identities that they name (XPivotOtherRowRefColumn) by a plain pointer, so every change of
// the columns binds them anew: whoever adds, removes or renames a column that names rows calls BindColumns.
//
// Append is all or nothing. Columns are appended one after the other and any of them may refuse, so the
// previous state is restored by cutting the columns back to their old number of rows; what that does not
// restore, the numbering of identities and the bytes of columns of unknown classes, is saved before.

namespace
{
/// True for a column that others are bound to.
bool NamesRows( const XPivotColumn& inColumn )
{
    return dynamic_cast<const XPivotRowRefColumn*>( &inColumn ) != nullptr;
}

/// Finds columns by their descriptors, as XPivotTable::FindColumn does, but each in constant time.
class XColumnFinder
{
public:
    XColumnFinder() = default;
    explicit XColumnFinder( const XPivotTable& inTable )
    {
        for ( std::uint32_t i = 0; i < inTable.GetNumColumns(); ++i )
            Add( inTable.GetColumn( i ) );
    }

    /// False when there is one of the same descriptor before.
    bool Add( const XPivotColumn& inColumn )
    {
        return itsColumns.emplace( MakeKey( inColumn.GetDescriptor() ), &inColumn ).second;
    }
    const XPivotColumn* Find( const XPivotColumn& inColumn ) const
    {
        const auto found = itsColumns.find( MakeKey( inColumn.GetDescriptor() ) );
        return found == itsColumns.end() ? nullptr : found->second;
    }

private:
    /// Equal where XPivotColumnDescriptor::IsOfSameColumn is true.
    static std::string MakeKey( const XPivotColumnDescriptor& inDescriptor )
    {
        std::string key = std::to_string( inDescriptor.GetID() );
        const auto append = [&]( const XString& inText )
        {
            key.append( " " )
                .append( std::to_string( inText.GetLength() ) )
                .append( " " )
                .append( inText.GetStringView() );
        };
        append( inDescriptor.GetID() == kPivotUserDefined ? inDescriptor.GetColumnName() : XString() );
        append( inDescriptor.GetChannelName() );
        append( inDescriptor.GetUnits() );
        return key;
    }

    std::unordered_map<std::string, const XPivotColumn*> itsColumns;
};
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
    BindColumns();
}

void XPivotTable::BindColumns()
{
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
    if ( NamesRows( column ) )
        BindColumns();
    else
        column.SetTable( *this );
    return column;
}

/// Puts a column that names no rows in the place of another such.
void XPivotTable::ReplaceColumn( std::uint32_t inIndex, std::unique_ptr<XPivotColumn> inColumn )
{
    itsColumns[inIndex] = std::move( inColumn );
    itsColumns[inIndex]->SetTable( *this );
}

std::unique_ptr<XPivotColumn> XPivotTable::RemoveColumn( std::uint32_t inIndex )
{
    XAssert( inIndex < GetNumColumns() );
    std::unique_ptr<XPivotColumn> column = std::move( itsColumns[inIndex] );
    itsColumns.erase( itsColumns.begin() + inIndex );
    column->itsTable = nullptr;
    if ( NamesRows( *column ) )
        BindColumns();
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
        if ( itsColumns[i]->GetDescriptor().IsOfSameColumn( inDescriptor ) )
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

XVector<const XPivotColumn*> XPivotTable::ListColumns( const XColumnIndices& inColumns ) const
{
    XVector<const XPivotColumn*> columns;
    for ( const std::uint32_t index : inColumns )
        columns.push_back( &GetColumn( index ) );
    return columns;
}

// ---- Rows

void XPivotTable::InsertEmptyRows( std::uint32_t inRow, std::uint32_t inCount )
{
    for ( const auto& column : itsColumns )
        column->InsertEmptyRows( inRow, inCount );
}

void XPivotTable::ReserveRows( std::uint32_t inRowCount )
{
    for ( const auto& column : itsColumns )
        column->ReserveRows( inRowCount );
}

void XPivotTable::Append( const XPivotTable& inOther )
{
    // A column cannot be read while it grows.
    if ( &inOther == this )
        return Append( XPivotTable( inOther ) );
    const std::uint32_t rows = GetNumRows();
    const std::uint32_t columns = GetNumColumns();
    XVector<XPivotRowRefColumn::XNumbering> numberings;
    XVector<XPivotOpaqueColumn> opaques;
    for ( const auto& column : itsColumns )
    {
        const auto* opaque = dynamic_cast<const XPivotOpaqueColumn*>( column.get() );
        opaques.push_back( opaque ? *opaque : XPivotOpaqueColumn() );
        const auto* ids = dynamic_cast<const XPivotRowRefColumn*>( column.get() );
        numberings.push_back( ids ? ids->itsNumbering : XPivotRowRefColumn::XNumbering() );
    }
    try
    {
        XPivotTableReferences references( *this );
        AppendRows( inOther );
        references.SettleAppended( inOther, rows );
    }
    catch ( ... )
    {
        // For instance because of a text that is not a number, for a column of numbers.
        itsColumns.resize( columns );
        BindColumns();
        for ( std::uint32_t i = 0; i < columns; ++i )
        {
            itsColumns[i]->ResizeRows( rows );
            if ( auto* ids = dynamic_cast<XPivotRowRefColumn*>( itsColumns[i].get() ) )
                ids->itsNumbering = std::move( numberings[i] );
            if ( auto* opaque = dynamic_cast<XPivotOpaqueColumn*>( itsColumns[i].get() ) )
                *opaque = opaques[i];
        }
        throw;
    }
}

void XPivotTable::AppendRows( const XPivotTable& inOther )
{
    const std::uint32_t rows = GetNumRows();
    const XColumnFinder others( inOther );
    XColumnFinder known;
    for ( const auto& column : itsColumns )
    {
        known.Add( *column );
        if ( const XPivotColumn* other = others.Find( *column ) )
            *column += *other;
        else
            column->InsertEmptyRows( rows, inOther.GetNumRows() );
    }
    for ( const auto& other : inOther.itsColumns )
    {
        // Appended above, or a second column of the same descriptor in the other table, which has no
        // counterpart.
        if ( !known.Add( *other ) )
            continue;
        std::unique_ptr<XPivotColumn> column( other->CloneWithoutCopy() );
        // A column that is new here is missing in the rows before.
        column->InsertEmptyRows( 0, rows );
        *column += *other;
        AddColumn( std::move( column ) );
    }
}
