#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotReferenceColumn.h"

class XPivotRowRefColumn;

/// References to rows: each row holds the identifier of an object of the same table, for instance its parent,
/// and shows the user-visible ID that the table's row-reference column assigns to it. Many rows may refer to
/// one object.
///
/// In a table the column is bound to the first row-reference column with its descriptor, and is bound again
/// whenever such columns are added, removed or change their descriptors. Without such a column, and for
/// identifiers that the bound column does not know, it shows 0. It adds no references to the bound column;
/// the table adds them, for objects without rows.
class KORVALE_API XPivotOtherRowRefColumn
    : public XPivotColumnClassT<XPivotOtherRowRefColumn, XPivotReferenceColumn, kClassPivotOtherRowRefColumn>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;
    XPivotOtherRowRefColumn() = default;
    /// A copy is unbound. An assignment does not change the table that contains the column; it binds the
    /// column within that table.
    XPivotOtherRowRefColumn( const XPivotOtherRowRefColumn& inOther ) = default;
    XPivotOtherRowRefColumn& operator=( const XPivotOtherRowRefColumn& inOther );

    const XPivotColumnDescriptor& GetRowRefColumnDescriptor() const { return itsRowRefColumnDescriptor; }
    /// Binds the column again if it is in a table.
    void SetRowRefColumnDescriptor( const XPivotColumnDescriptor& inDescriptor );
    /// Null while the column is unbound. Owned by the table.
    const XPivotRowRefColumn* GetRowRefColumn() const { return GetTable() ? itsRowRefColumn : nullptr; }

    using XPivotReferenceColumn::GetDataUserVisibleID;
    std::uint32_t GetDataUserVisibleID( std::uint32_t inRow ) const override;

    /// All rows that hold the identifier, ascending.
    void FindDataUUID( const XUUID& inUUID, XVector<std::uint32_t>& outRows ) const;

    /// A column without rows that refers to the same row-reference column.
    XPivotColumn* CloneWithoutCopy() const override;

    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

protected:
    void SetTableSelf( XPivotTable& inTable ) override;

private:
    XPivotColumnDescriptor itsRowRefColumnDescriptor;
    const XPivotRowRefColumn* itsRowRefColumn = nullptr; // not owned; belongs to GetTable()
};
