#include "Pivot/Tables/XPivotOtherRowRefColumn.h"

#include "Core/Streams/XStream.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"
#include "Pivot/Tables/XPivotTable.h"

#include <memory>

namespace
{
const XPivotRowRefColumn*
FindRowRefColumn( const XPivotTable& inTable, const XPivotColumnDescriptor& inDescriptor )
{
    for ( std::uint32_t i = 0; i < inTable.GetNumColumns(); ++i )
    {
        const auto* column = dynamic_cast<const XPivotRowRefColumn*>( &inTable.GetColumn( i ) );
        if ( column && inDescriptor.IsOfSameColumn( column->GetDescriptor() ) )
            return column;
    }
    return nullptr;
}
} // namespace

XPivotOtherRowRefColumn& XPivotOtherRowRefColumn::operator=( const XPivotOtherRowRefColumn& inOther )
{
    XPivotReferenceColumn::operator=( inOther );
    SetRowRefColumnDescriptor( inOther.itsRowRefColumnDescriptor );
    return *this;
}

void XPivotOtherRowRefColumn::SetRowRefColumnDescriptor( const XPivotColumnDescriptor& inDescriptor )
{
    itsRowRefColumnDescriptor = inDescriptor;
    if ( GetTable() )
        itsRowRefColumn = FindRowRefColumn( *GetTable(), itsRowRefColumnDescriptor );
}

void XPivotOtherRowRefColumn::SetTableSelf( XPivotTable& )
{
    SetRowRefColumnDescriptor( itsRowRefColumnDescriptor );
}

std::uint32_t XPivotOtherRowRefColumn::GetDataUserVisibleID( std::uint32_t inRow ) const
{
    const XPivotRowRefColumn* column = GetRowRefColumn();
    return column && DoesDataExist( inRow ) ? column->GetDataUserVisibleID( GetDataUUID( inRow ) ) : 0;
}

void XPivotOtherRowRefColumn::FindDataUUID( const XUUID& inUUID, XVector<std::uint32_t>& outRows ) const
{
    outRows.clear();
    for ( std::uint32_t row = 0; row < GetColumnSize(); ++row )
    {
        if ( DoesDataExist( row ) && itsColumnData[row] == inUUID )
            outRows.push_back( row );
    }
}

XPivotColumn* XPivotOtherRowRefColumn::CloneWithoutCopy() const
{
    std::unique_ptr<XPivotColumn> column( XPivotColumnClassT::CloneWithoutCopy() );
    static_cast<XPivotOtherRowRefColumn&>( *column ).itsRowRefColumnDescriptor = itsRowRefColumnDescriptor;
    return column.release();
}

// ---- Storage

USize64 XPivotOtherRowRefColumn::GetStreamUsage() const
{
    return XPivotReferenceColumn::GetStreamUsage() + itsRowRefColumnDescriptor.GetStreamUsage();
}

void XPivotOtherRowRefColumn::ReadStream2( XStream& inStream, XOptions inOptions )
{
    XPivotReferenceColumn::ReadStream2( inStream, inOptions );
    SetRowRefColumnDescriptor( ReadDescriptor( inStream, inOptions ) );
}

void XPivotOtherRowRefColumn::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    XPivotReferenceColumn::WriteStream2( inStream, inOptions );
    inStream.WriteObject( itsRowRefColumnDescriptor, inOptions );
}
