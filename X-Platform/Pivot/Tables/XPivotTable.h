#pragma once

#include "Core/Streams/XByteOrder.h"
#include "Pivot/Accumulators/XPivotTableAccumulator.h"
#include "Pivot/Columns/XPivotColumn.h"
#include "Pivot/Rows/XPivotTableTypes.h"
#include "Pivot/Tables/XPivotTableFilter.h"

#include <memory>

class XPivotStringColumn;

/// A table of measurements: columns of equal length, kept consistent by every row operation. Columns that
/// refer to rows of the table are bound again whenever row-reference columns are added, removed, moved with
/// the table or change their descriptors.
///
/// Ownership: the table owns its columns. Code that changes the rows of a column directly must ensure that
/// all columns end up with the same number of rows.
/// Threads: not locked; one thread at a time.
/// Errors: a column of another length and a row or column outside the table are internal errors (1006).
/// Reading throws 1005 for inconsistent contents, 1015 and 1260, and then leaves the table unchanged. A
/// column of an unknown class is not an error: it becomes an XPivotOpaqueColumn.
/// Units: rows and columns are numbered from 0.
class KORVALE_API XPivotTable : public XStorable
{
public:
    using XPivotFilterRelationship = ::XPivotFilterRelationship;
    using enum ::XPivotFilterRelationship;
    using XPivotSortDirection = ::XPivotSortDirection;
    using enum ::XPivotSortDirection;
    using XPivotTableControlRelationship = ::XPivotTableControlRelationship;
    using enum ::XPivotTableControlRelationship;

    /// A column to sort by.
    struct XSortKey
    {
        std::uint32_t column;
        XPivotSortDirection direction = kSortAscending;
    };
    /// One value of a pivot: a column and the aggregates to compute of it.
    struct XPivotValue
    {
        std::uint32_t column;
        XPivotTableAccumulator accumulator;
    };
    using XColumnIndices = XVector<std::uint32_t>;

    /// Limit of the number of row-key combinations times the number of column-key combinations.
    static constexpr std::uint32_t kMaxPivotCells = 1u << 28;

    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotTable ); }
    static constexpr XVersion GetSuperClassVersion() { return XVersion(); }

    XPivotTable() = default;
    /// Makes deep copies of the columns.
    XPivotTable( const XPivotTable& inOther );
    XPivotTable& operator=( const XPivotTable& inOther );
    /// A move leaves the other table without columns.
    XPivotTable( XPivotTable&& inOther ) noexcept;
    XPivotTable& operator=( XPivotTable&& inOther ) noexcept;
    ~XPivotTable() override;

    XVersion GetVersion() const override { return GetClassVersion(); }
    XPivotTable* Clone() const override { return new XPivotTable( *this ); }

    // ---- Columns, in the order in which they are shown

    std::uint32_t GetNumColumns() const { return static_cast<std::uint32_t>( itsColumns.size() ); }
    /// 0 for a table without columns.
    std::uint32_t GetNumRows() const;

    /// Takes ownership of the column and returns it. Unless it is the first, it must have as many rows as the
    /// table.
    template<class T>
    T& AddColumn( std::unique_ptr<T> inColumn )
    {
        return static_cast<T&>( InsertColumn( GetNumColumns(), std::move( inColumn ) ) );
    }
    XPivotColumn& InsertColumn( std::uint32_t inIndex, std::unique_ptr<XPivotColumn> inColumn );
    /// Removes the column from the table and returns it.
    std::unique_ptr<XPivotColumn> RemoveColumn( std::uint32_t inIndex );

    XPivotColumn& GetColumn( std::uint32_t inIndex );
    const XPivotColumn& GetColumn( std::uint32_t inIndex ) const;

    /// The first column that matches the descriptor, or null. The name is compared for user-defined columns
    /// only: a standard quantity is identified by its ID, channel and units.
    XPivotColumn* FindColumn( const XPivotColumnDescriptor& inDescriptor );
    const XPivotColumn* FindColumn( const XPivotColumnDescriptor& inDescriptor ) const;
    /// The index of that column, or -1.
    std::int32_t FindColumnIndex( const XPivotColumnDescriptor& inDescriptor ) const;

    // ---- Rows. When the row of an object is removed, the row-reference column keeps the object and its
    // number as long as rows of the table refer to it.

    void AppendEmptyRows( std::uint32_t inCount ) { InsertEmptyRows( GetNumRows(), inCount ); }
    void InsertEmptyRows( std::uint32_t inRow, std::uint32_t inCount );
    /// Reserves memory for that many rows in total, in each existing column.
    void ReserveRows( std::uint32_t inRowCount );
    /// Appends the rows of another table. Columns are matched by descriptor; columns that only the other
    /// table has are added, and rows without a value for a column are missing. On error, this table is
    /// unchanged.
    void Append( const XPivotTable& inOther );

    void DeleteRows( std::uint32_t inFirst, std::uint32_t inCount );
    /// Removes the listed rows; their order does not matter.
    void DeleteRows( const XVector<std::uint32_t>& inRows );
    /// Keeps the listed rows, in that order, and removes all others. A row listed twice is duplicated.
    void KeepRows( const XVector<std::uint32_t>& inRows );
    void Clear() { DeleteRows( 0, GetNumRows() ); }
    /// Inserts a copy behind each listed row, once for each time it is listed.
    void DuplicateRows( const XVector<std::uint32_t>& inRows );
    /// Makes the table `inCount` times as long. With `inInterleaved` each row is repeated `inCount` times in
    /// a row, otherwise the sequence of all rows is repeated.
    void DuplicateAllRows( std::uint32_t inCount, bool inInterleaved );
    /// Of rows that have equal values in each of the listed columns, or in all columns if none is listed,
    /// keeps the first. Missing values are equal to each other, so are NaNs, and 0 equals -0; texts are
    /// compared byte by byte. `outRows`, unless null, receives the old numbers of the rows kept.
    void RemoveDuplicates(
        const XColumnIndices& inColumns = XColumnIndices(), XVector<std::uint32_t>* outRows = nullptr );

    // ---- Order

    /// Sorts all rows by one column, stably in both directions. `outOrder[k]`, unless null, is the old number
    /// of the row that is now row k. Missing rows and NaN are placed as by the column's own Sort.
    void Sort(
        std::uint32_t inColumn, XPivotSortDirection inDirection, XVector<std::uint32_t>* outOrder = nullptr );
    /// Sorts by several columns; the first key is the most significant.
    void Sort( const XVector<XSortKey>& inKeys, XVector<std::uint32_t>* outOrder = nullptr );

    // ---- Filters

    /// The rows whose value in a column is present and satisfies the condition, ascending. A cancellation
    /// point.
    XVector<std::uint32_t>
    FindRows( std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference ) const;
    XVector<std::uint32_t> FindRows(
        std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference ) const;
    /// The rows that satisfy a filter expression, ascending.
    XVector<std::uint32_t> FindRows( const XPivotTableFilter& inFilter ) const;
    /// Keeps the rows that FindRows returns and removes all others.
    void FilterRows( std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference );
    void
    FilterRows( std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference );
    void FilterRows( const XPivotTableFilter& inFilter ) { KeepRows( FindRows( inFilter ) ); }

    // ---- Pivots. Keys are compared by value, not by display text: missing values are one key, NaN another.
    // Groups are in the sort order of their keys, missing ones first.

    /// Returns a table with one row for each combination of row keys that occurs. For each value and each
    /// combination of column keys that occurs, it has the columns that the value's accumulator computes from
    /// the rows of each cell. Without row keys there is one row, without column keys one group of columns.
    ///
    /// The key columns come first. Result columns are user-defined. Their heading is the column string of the
    /// accumulator, such as "Mean", preceded by the column keys, if any, and by the name of the value's
    /// column if there are several values: "3, treated: Area: Mean". Numbers that would look alike are
    /// written exactly; headings that are still equal are numbered: "0", "0 (2)". Result columns have the
    /// channel of the value's column, and its units if the result has these units. "Value" columns have the
    /// class of the value's column, all others are numeric; invalid results are missing. A cell without rows
    /// shows the defaults of the accumulator.
    ///
    /// Throws 1012 if the keys would result in more than kMaxPivotCells cells.
    XPivotTable Pivot(
        const XColumnIndices& inRowKeys, const XColumnIndices& inColumnKeys,
        const XVector<XPivotValue>& inValues ) const;
    /// Computes a pivot for each combination of page keys and concatenates the results as rows of one table.
    /// The columns of the page number (kPivotInternalPageColumn, from 1) and of the page keys precede the row
    /// keys.
    XPivotTable PagePivot(
        const XColumnIndices& inPageKeys, const XColumnIndices& inRowKeys, const XColumnIndices& inColumnKeys,
        const XVector<XPivotValue>& inValues ) const;
    /// Contracts this table to one row for each combination of keys that occurs. Each value column is
    /// replaced by its result columns, with headings as in Pivot; any other column keeps a value only if it
    /// is the single present one of its group.
    void Contract( const XColumnIndices& inKeys, const XVector<XPivotValue>& inValues );

    // ---- Controls and buckets

    /// Relates a numeric column to a reference. The column becomes a floating-point column, with unit "%" for
    /// percentages and without units for ratios; results that are not numbers are missing. Columns that are
    /// not numeric, times and identifiers are unchanged.
    void
    NormaliseTo( std::uint32_t inColumn, double inReference, XPivotTableControlRelationship inRelationship );
    /// Relates a column to the mean of control rows. With group keys (the plate, the image), each group uses
    /// the mean of its own control rows. Control rows that are missing or NaN are ignored; the rows of a
    /// group without control rows become missing.
    void NormaliseToControls(
        std::uint32_t inColumn, const XVector<std::uint32_t>& inControlRows,
        XPivotTableControlRelationship inRelationship, const XColumnIndices& inGroupKeys = XColumnIndices() );

    /// Assigns the rows of a numeric column to buckets between ascending limits: "0 to 10" contains 0 but not
    /// 10; the last bucket includes its upper limit. Limits that would look alike are written exactly.
    /// Returns the bucket column, a user-defined column with the channel of the original and named "Area
    /// Group" for a column "Area"; it is appended, or overwritten if it exists. Rows outside all limits are
    /// missing. Throws 1013 for fewer than two limits and for limits that are not ascending.
    XPivotStringColumn& BucketsGather( std::uint32_t inColumn, const XVector<double>& inLimits );
    /// Assigns the rows whose text is one of `inTexts` to the bucket `inBucket`. All other rows stay in their
    /// buckets; initially each text is a bucket of its own.
    XPivotStringColumn&
    BucketsGather( std::uint32_t inColumn, const XVector<XString>& inTexts, const XString& inBucket );
    /// Renames a bucket in the bucket column of a column; if a bucket of the new name exists, the two are
    /// merged. Returns the number of rows renamed, 0 if there is no such bucket.
    std::uint32_t BucketRename( std::uint32_t inColumn, const XString& inOldName, const XString& inNewName );

    // ---- Storage

    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    /// The stream must be seekable: the length of each column is filled in after its bytes are written.
    /// Columns of unknown classes keep their contents only in a stream of the preferred byte order.
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;
    /// The byte order in which the first column of an unknown class that still has its contents was read;
    /// without such a column, the byte order of this machine.
    XByteOrder GetPreferredByteOrder() const;

private:
    using XColumns = XVector<std::unique_ptr<XPivotColumn>>;

    static void WriteColumn( XStream& inStream, const XPivotColumn& inColumn, XOptions inOptions );
    static void ReadColumn( XStream& inStream, XOptions inOptions, XColumns& ioColumns );
    static void CheckRowCount( XStream& inStream, const XPivotColumn& inColumn, const XColumns& inBefore );
    static void SettleRowCounts( const XColumns& inColumns );
    void AppendRows( const XPivotTable& inOther );
    void ReorderRows( const XVector<std::uint32_t>& inRows );
    void TakeColumns( XColumns&& inColumns );
    friend class XPivotRowRefColumn;
    void BindColumns();
    void ReplaceColumn( std::uint32_t inIndex, std::unique_ptr<XPivotColumn> inColumn );
    XVector<const XPivotColumn*> ListColumns( const XColumnIndices& inColumns ) const;
    XPivotStringColumn* FindBuckets( std::uint32_t inColumn );
    XPivotStringColumn& AddBuckets( std::uint32_t inColumn );

    XColumns itsColumns; // not null, all of equal length
};
