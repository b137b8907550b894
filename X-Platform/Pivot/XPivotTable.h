#pragma once

#include "Pivot/XPivotColumn.h"
#include "Pivot/XPivotTableTypes.h"

#include <memory>

/// A table of measurements: columns of equal length, kept in step through every row operation.
///
/// Ownership: the table owns its columns. Whoever changes the rows of a column past the table sees to it that
/// all columns end up with equal row counts.
/// Threads: not locked; one thread at a time.
/// Errors: a column of another length, a row or column outside the table are internal errors (1006). Reading
/// throws 1005 for what is inconsistent, 1003 for a column of an unknown class, 1015, 1260, and then leaves
/// the table as it was.
/// Units: rows and columns count from 0.
class KORVALE_API XPivotTable : public XStorable
{
public:
    using XPivotFilterRelationship = ::XPivotFilterRelationship;
    using enum ::XPivotFilterRelationship;
    using XPivotSortDirection = ::XPivotSortDirection;
    using enum ::XPivotSortDirection;

    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotTable ); }
    static constexpr XVersion GetSuperClassVersion() { return XVersion(); }

    XPivotTable() = default;
    /// Deep copies of the columns.
    XPivotTable( const XPivotTable& inOther );
    XPivotTable& operator=( const XPivotTable& inOther );
    /// Leave the other table without columns.
    XPivotTable( XPivotTable&& inOther ) noexcept;
    XPivotTable& operator=( XPivotTable&& inOther ) noexcept;
    ~XPivotTable() override;

    XVersion GetVersion() const override { return GetClassVersion(); }
    XPivotTable* Clone() const override { return new XPivotTable( *this ); }

    // ---- Columns, in the order in which they are shown

    std::uint32_t GetNumColumns() const { return static_cast<std::uint32_t>( itsColumns.size() ); }
    /// 0 for a table without columns.
    std::uint32_t GetNumRows() const;

    /// Takes the column; it has as many rows as the table, unless it is the first. Returns it.
    template<class T>
    T& AddColumn( std::unique_ptr<T> inColumn )
    {
        return static_cast<T&>( InsertColumn( GetNumColumns(), std::move( inColumn ) ) );
    }
    XPivotColumn& InsertColumn( std::uint32_t inIndex, std::unique_ptr<XPivotColumn> inColumn );
    /// Takes the column out of the table.
    std::unique_ptr<XPivotColumn> RemoveColumn( std::uint32_t inIndex );

    XPivotColumn& GetColumn( std::uint32_t inIndex );
    const XPivotColumn& GetColumn( std::uint32_t inIndex ) const;

    /// The first column that the descriptor describes, or null. The name counts for user-defined columns
    /// only: a standard quantity is found by its ID, channel and units.
    XPivotColumn* FindColumn( const XPivotColumnDescriptor& inDescriptor );
    const XPivotColumn* FindColumn( const XPivotColumnDescriptor& inDescriptor ) const;
    /// Its index, or -1.
    std::int32_t FindColumnIndex( const XPivotColumnDescriptor& inDescriptor ) const;

    // ---- Rows

    void AppendEmptyRows( std::uint32_t inCount ) { InsertEmptyRows( GetNumRows(), inCount ); }
    void InsertEmptyRows( std::uint32_t inRow, std::uint32_t inCount );
    /// Appends the rows of another table. Columns are matched by descriptor; those that only the other table
    /// has are added, and rows are missing wherever a table has no such column.
    void Append( const XPivotTable& inOther );

    void DeleteRows( std::uint32_t inFirst, std::uint32_t inCount );
    /// The rows listed, in any order.
    void DeleteRows( const XVector<std::uint32_t>& inRows );
    /// Keeps the rows listed, in that order, and removes all others.
    void KeepRows( const XVector<std::uint32_t>& inRows );
    void Clear() { DeleteRows( 0, GetNumRows() ); }

    /// Sorts all rows by the values of one column, stably in both directions. `outOrder[k]`, where asked for,
    /// is the old row that is now row k.
    void Sort(
        std::uint32_t inColumn, XPivotSortDirection inDirection, XVector<std::uint32_t>* outOrder = nullptr );

    /// The rows whose value in a column is present and passes, ascending. A cancellation point.
    XVector<std::uint32_t>
    FindRows( std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference ) const;
    XVector<std::uint32_t> FindRows(
        std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference ) const;
    /// Keeps those rows and removes all others.
    void FilterRows( std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference );
    void
    FilterRows( std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference );

    // ---- Storage

    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    /// The stream must be able to seek: the length of each column is filled in after its bytes are written.
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

private:
    using XColumns = XVector<std::unique_ptr<XPivotColumn>>;

    static void WriteColumn( XStream& inStream, const XPivotColumn& inColumn, XOptions inOptions );
    static std::unique_ptr<XPivotColumn> ReadColumn( XStream& inStream, XOptions inOptions );
    void AppendRows( const XPivotTable& inOther );
    void TakeColumns( XColumns&& inColumns );

    XColumns itsColumns; // none null, all of one length
};
