#pragma once

#include "Core/Streams/XByteOrder.h"
#include "Pivot/Accumulators/XPivotTableAccumulator.h"
#include "Pivot/Columns/XPivotColumn.h"
#include "Pivot/Rows/XPivotTableTypes.h"
#include "Pivot/Tables/XPivotTableFilter.h"

#include <memory>

class XPivotStringColumn;

/// A table of measurements: columns of equal length, kept in step through every row operation. Columns that
/// refer to rows of the table are bound anew whenever row-reference columns come, go, move with the table or
/// change their descriptors.
///
/// Ownership: the table owns its columns. Whoever changes the rows of a column past the table sees to it that
/// all columns end up with equal row counts.
/// Threads: not locked; one thread at a time.
/// Errors: a column of another length, a row or column outside the table are internal errors (1006). Reading
/// throws 1005 for what is inconsistent, 1015, 1260, and then leaves the table as it was. A column of a class
/// that is not known is no error: it becomes an XPivotOpaqueColumn.
/// Units: rows and columns count from 0.
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
    /// What a pivot reduces: the values of a column, and how.
    struct XPivotValue
    {
        std::uint32_t column;
        XPivotTableAccumulator accumulator;
    };
    using XColumnIndices = XVector<std::uint32_t>;

    /// Combinations of row keys times combinations of column keys.
    static constexpr std::uint32_t kMaxPivotCells = 1u << 28;

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

    // ---- Rows. An object whose row goes stays known to its row-reference column, with its number, as long as
    // rows of the table refer to it.

    void AppendEmptyRows( std::uint32_t inCount ) { InsertEmptyRows( GetNumRows(), inCount ); }
    void InsertEmptyRows( std::uint32_t inRow, std::uint32_t inCount );
    /// Sets memory aside for that many rows in all, in each of the columns that there are.
    void ReserveRows( std::uint32_t inRowCount );
    /// Appends the rows of another table. Columns are matched by descriptor; those that only the other table
    /// has are added, and rows are missing wherever a table has no such column. When it fails, this table is
    /// as before.
    void Append( const XPivotTable& inOther );

    void DeleteRows( std::uint32_t inFirst, std::uint32_t inCount );
    /// The rows listed, in any order.
    void DeleteRows( const XVector<std::uint32_t>& inRows );
    /// Keeps the rows listed, in that order, and removes all others. A row listed twice is there twice.
    void KeepRows( const XVector<std::uint32_t>& inRows );
    void Clear() { DeleteRows( 0, GetNumRows() ); }
    /// Puts a copy right behind each row listed; two where it is listed twice.
    void DuplicateRows( const XVector<std::uint32_t>& inRows );
    /// Makes the table `inCount` times as long: each row `inCount` times in a row when `inInterleaved`, else
    /// all rows, `inCount` times over.
    void DuplicateAllRows( std::uint32_t inCount, bool inInterleaved );
    /// Keeps the first of rows that hold the same in each of the columns listed, or in all columns where none
    /// is. Missing is the same as missing, NaN as NaN, 0 as -0; texts are compared byte by byte. `outRows`,
    /// where asked for, are the old rows kept.
    void RemoveDuplicates(
        const XColumnIndices& inColumns = XColumnIndices(), XVector<std::uint32_t>* outRows = nullptr );

    // ---- Order

    /// Sorts all rows by the values of one column, stably in both directions. `outOrder[k]`, where asked for,
    /// is the old row that is now row k. Missing rows and NaN go where the column's own Sort puts them.
    void Sort(
        std::uint32_t inColumn, XPivotSortDirection inDirection, XVector<std::uint32_t>* outOrder = nullptr );
    /// The same by several columns: the first decides, each further one among rows that are equal so far.
    void Sort( const XVector<XSortKey>& inKeys, XVector<std::uint32_t>* outOrder = nullptr );

    // ---- Filters

    /// The rows whose value in a column is present and passes, ascending. A cancellation point.
    XVector<std::uint32_t>
    FindRows( std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference ) const;
    XVector<std::uint32_t> FindRows(
        std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference ) const;
    /// The rows that pass a whole expression, ascending.
    XVector<std::uint32_t> FindRows( const XPivotTableFilter& inFilter ) const;
    /// Keeps those rows and removes all others.
    void FilterRows( std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference );
    void
    FilterRows( std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference );
    void FilterRows( const XPivotTableFilter& inFilter ) { KeepRows( FindRows( inFilter ) ); }

    // ---- Pivots. Keys are told apart by their values, not by how they are shown: missing is one key, NaN is
    // another. Groups come out in the sort order of their keys, missing ones first.

    /// One row for each combination of row keys that occurs, and for each value and each combination of
    /// column keys that occurs the columns that its accumulator fills from the rows of that cell. Without row
    /// keys there is one row, without column keys one group of columns.
    ///
    /// The key columns come first. Result columns are user-defined and headed by the accumulator's column
    /// string, "Mean"; before it stand the column keys, where there are some, and the name of the value's
    /// column, where there are several values: "3, treated: Area: Mean". Numbers that would look alike are
    /// named exactly there, and what still looks alike is counted: "0", "0 (2)". They have the channel of the value's
    /// column, and its units where the result is measured in them. "Value" columns are of the class of the
    /// value's column, all others are numbers; invalid results are missing. A cell without rows shows the
    /// accumulator's defaults.
    ///
    /// Throws 1012 when the keys would span more than kMaxPivotCells cells.
    XPivotTable Pivot(
        const XColumnIndices& inRowKeys, const XColumnIndices& inColumnKeys,
        const XVector<XPivotValue>& inValues ) const;
    /// A pivot for each combination of page keys, on rows of its own: the pages follow each other. Before the
    /// row keys stand the page's number (kPivotInternalPageColumn, from 1) and the page keys.
    XPivotTable PagePivot(
        const XColumnIndices& inPageKeys, const XColumnIndices& inRowKeys, const XColumnIndices& inColumnKeys,
        const XVector<XPivotValue>& inValues ) const;
    /// Contracts this table to one row for each combination of keys that occurs. Each column among the values
    /// is replaced by its result columns, headed as by Pivot; every other one keeps the value of a row where
    /// it is the only present one of its group.
    void Contract( const XColumnIndices& inKeys, const XVector<XPivotValue>& inValues );

    // ---- Controls and buckets

    /// Relates a column of numbers to a reference. The column becomes one of floating-point numbers, in "%"
    /// for percentages and without units for ratios; where there is no number to show, the row is missing.
    /// Columns without numbers, times and identifiers stay as they are.
    void
    NormaliseTo( std::uint32_t inColumn, double inReference, XPivotTableControlRelationship inRelationship );
    /// The same with the mean of control rows as reference, for each combination of group keys (the plate,
    /// the image) that of its own control rows. Control rows that are missing or NaN do not count; a group
    /// without any has no reference, and its rows are missing.
    void NormaliseToControls(
        std::uint32_t inColumn, const XVector<std::uint32_t>& inControlRows,
        XPivotTableControlRelationship inRelationship, const XColumnIndices& inGroupKeys = XColumnIndices() );

    /// Gathers the rows of a column of numbers into buckets between ascending limits: "0 to 10" holds 0, but not 10;
    /// the last bucket holds its upper limit too. Limits that would look alike are named exactly. Returns the bucket
    /// column, user-defined, named "Area Group" after a column "Area", with its channel, which is added at the end or
    /// written anew. Rows outside all limits are missing. Fewer than two limits, or some not ascending, are 1013.
    XPivotStringColumn& BucketsGather( std::uint32_t inColumn, const XVector<double>& inLimits );
    /// Gathers the rows that read as one of some texts into a bucket. All others stay in the buckets they are
    /// in; at first each text is a bucket of its own.
    XPivotStringColumn&
    BucketsGather( std::uint32_t inColumn, const XVector<XString>& inTexts, const XString& inBucket );
    /// Renames a bucket in the bucket column of a column; one of the new name, if there is any, takes it in.
    /// Returns the number of rows renamed, 0 when there is no such bucket.
    std::uint32_t BucketRename( std::uint32_t inColumn, const XString& inOldName, const XString& inNewName );

    // ---- Storage

    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    /// The stream must be able to seek: the length of each column is filled in after its bytes are written.
    /// Columns of unknown classes keep their contents only in a stream of the preferred byte order.
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;
    /// The byte order in which the first column of an unknown class that still has its contents was read; this
    /// machine's where there is none.
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

    XColumns itsColumns; // none null, all of one length
};
