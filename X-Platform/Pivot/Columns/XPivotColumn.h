#pragma once

#include "Core/Storables/XClassNumbers.h"
#include "Core/Storables/XStorable.h"
#include "Core/Strings/XString.h"
#include "Pivot/Columns/XPivotColumnDescriptor.h"
#include "Pivot/Rows/XPivotTableTypes.h"

class XPivotTable;
struct XPivotRun;

/// A column of a table of measurements: one value per row, any of which may be missing. Row i of every column
/// of a table describes the same object.
///
/// Ownership: a column belongs to its creator, or to the table it was added to. Clones belong to the caller.
/// Threads: not locked; one thread at a time uses a table and its columns. Several threads may read as long
/// as no thread changes the column.
/// Errors: 3209 for an ID that is not registered. Reading throws 1005, 1015, 1260, and an internal error
/// (1006, or 1005 with kUntrustedSource) for runs outside the column; afterwards the column may only be
/// destroyed or read again.
/// Units: rows are numbered from 0.
class KORVALE_API XPivotColumn : public XStorable
{
public:
    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotColumn ); }
    static constexpr XVersion GetSuperClassVersion() { return XVersion(); }

    /// Some interfaces use signed 32-bit row numbers.
    static constexpr std::uint32_t kMaxRows = 0x7FFFFFFF;

    ~XPivotColumn() override;
    XVersion GetVersion() const override { return GetClassVersion(); }

    // ---- Copies

    XPivotColumn* Clone() const override = 0;
    virtual XPivotColumn* CloneForPivot() const { return Clone(); }
    /// A column of the same class, ID, channel, units, revision and visibility options, without rows.
    virtual XPivotColumn* CloneWithoutCopy() const = 0;
    virtual XPivotColumn* CloneWithoutCopyForPivot() const { return CloneWithoutCopy(); }

    /// Copies everything except rows and table from another column, which may be of another class; the same
    /// settings as CloneWithoutCopy.
    void CopySettings( const XPivotColumn& inOther );

    // ---- Properties of the column

    XPivotColumnID GetID() const { return itsDescriptor.GetID(); }
    void SetID( XPivotColumnID inID );
    /// The registered name for a standard ID, regardless of the stored name. Throws 3209.
    XString GetColumnName() const;
    void SetColumnName( const XString& inName );
    const XString& GetChannelName() const { return itsDescriptor.GetChannelName(); }
    void SetChannelName( const XString& inName );
    const XString& GetUnits() const { return itsDescriptor.GetUnits(); }
    void SetUnits( const XString& inUnits );
    const XPivotColumnDescriptor& GetDescriptor() const { return itsDescriptor; }
    XString GetDisplayName( bool inTwoLines = false ) const
    {
        return itsDescriptor.GetDisplayName( inTwoLines );
    }

    /// A number set by the creator of the column; the library does not interpret it.
    std::uint32_t GetRevision() const { return itsRevision; }
    void SetRevision( std::uint32_t inRevision ) { itsRevision = inRevision; }
    /// Flags for the code that displays the column; the library does not interpret them.
    std::uint32_t GetVisibilityOptions() const { return itsVisibilityOptions; }
    void SetVisibilityOptions( std::uint32_t inOptions ) { itsVisibilityOptions = inOptions; }

    /// The table that contains the column, or null. A copy is in no table.
    XPivotTable* GetTable() const { return itsTable; }
    void SetTable( XPivotTable& inTable );

    // ---- Presence

    std::uint32_t GetColumnSize() const { return GetColumnSizeSelf(); }
    /// False for a row outside the column.
    bool DoesDataExist( std::uint32_t inRow ) const
    {
        return inRow < itsExists.size() && itsExists[inRow] != 0;
    }
    /// One byte per row, 1 if it has a value; empty for a column that has no values of its own.
    const XVector<std::uint8_t>& GetExistsVector() const { return itsExists; }
    /// True if no row has a value.
    bool IsEmptyColumn() const;

    // ---- Setting values. Setting a row beyond the end extends the column; rows in between are missing. Each
    // class documents how it converts numbers and texts; a class that cannot store one ignores it.

    /// Replaces all rows; all are present. If a text is rejected, the column is unchanged.
    virtual void SetData( const XVector<XString>& inValues );
    virtual void SetData( const XVector<double>& inValues );
    virtual void SetData( const XString& inValue, std::int32_t inRow, bool inExists );
    virtual void SetData( double inValue, std::int32_t inRow, bool inExists );
    /// Changes only whether the row is present; a row outside the column is ignored.
    virtual void SetDataExists( std::int32_t inRow, bool inExists );
    virtual void AppendData( const XString& inValue, bool inExists );
    virtual void AppendData( double inValue, bool inExists );

    // ---- Rows

    /// Inserts rows of this column into another one before `inDestinationRow`. Between columns of the same
    /// class, values are copied as they are; otherwise a numeric column supplies numbers, any other column
    /// texts. A count of 0 does nothing, whatever the rows.
    virtual void CopyRowsInto(
        std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
        std::uint32_t inCount ) const;
    /// Overwrites rows of the other column, which grows if necessary. Converts values like CopyRowsInto.
    virtual void CopyRowsOver(
        std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
        std::uint32_t inCount ) const;
    void CopyRowInto(
        std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow ) const
    {
        CopyRowsInto( inSourceRow, inDestination, inDestinationRow, 1 );
    }
    void CopyRowOver(
        std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow ) const
    {
        CopyRowsOver( inSourceRow, inDestination, inDestinationRow, 1 );
    }
    /// Appends all rows of another column or of this one.
    XPivotColumn& operator+=( const XPivotColumn& inOther );

    /// Inserts missing rows before `inRowIndex`, which must not exceed the row count (internal error).
    virtual void InsertEmptyRows( std::uint32_t inRowIndex, std::uint32_t inCount ) = 0;
    /// Truncates the column, or appends missing rows.
    virtual void ResizeRows( std::uint32_t inRowCount ) = 0;
    /// Reserves memory for that many rows in total, so that the column does not over-allocate while it grows
    /// to them. Changes no rows.
    virtual void ReserveRows( std::uint32_t inRowCount ) { itsExists.reserve( inRowCount ); }
    virtual void Clear() { ResizeRows( 0 ); }
    virtual void DeleteItem( std::uint32_t inRow ) { DeleteItems( inRow, 1 ); }
    /// Removes the listed rows; order and repetitions do not matter. Rows outside the column are an internal
    /// error.
    virtual void DeleteItems( const XVector<std::uint32_t>& inRows );
    virtual void DeleteItems( std::uint32_t inFirst, std::uint32_t inCount ) = 0;

    // ---- Reading values. Missing rows return the column's default value.

    virtual bool IsNumeric() const = 0;
    virtual bool HasStringRepresentation() const { return true; }
    virtual double GetDataFloat( std::uint32_t inRow ) const = 0;
    virtual XString GetDataString( std::uint32_t inRow ) const = 0;
    /// The first row whose stored value equals `inValue`, present or missing; -1 if there is none.
    virtual std::int32_t FindDataFloat( double inValue ) const = 0;
    /// The first row whose text is `inValue`; -1 if there is none.
    virtual std::int32_t FindDataString( const XString& inValue ) const;
    virtual bool IsFilterable() const { return true; }

    /// The numbers of the present rows, in row order.
    virtual XVector<double> GetFloatVector() const;
    /// The texts of all rows, including missing ones.
    virtual XVector<XString> GetStringVector() const;
    /// The distinct numbers of the present rows, ascending; NaN comes first and at most once.
    virtual XVector<double> GetFloatSet() const;
    /// The distinct texts of the present rows in the natural order of strings. Different texts that it ranks
    /// as equal are all included, in bytewise order.
    virtual XVector<XString> GetStringSet() const;

    /// Up to `inMaxCount` rows from `inFirstRow` on as numbers, for loops over many rows: `values[i]` is the
    /// number of row `inFirstRow + i` if `exists[i]` is not 0, and undefined otherwise. Texts that are not
    /// numbers are NaN. Valid until the column or `ioScratch` changes.
    struct XFloatBlock
    {
        const double* values;
        const std::uint8_t* exists;
        std::uint32_t count; ///< 0 at the end of the column
    };
    virtual XFloatBlock
    GetFloatBlock( std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const;

    // ---- Order

    /// Sorts by the stored values, stably in both directions, including missing rows. `outOrder[k]` is the
    /// old number of the row that is now row k. NaN is less than every number.
    virtual void Sort( XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder ) = 0;
    /// Keeps the first present row of each distinct value and removes all others, including missing rows.
    /// `outRows` lists the old numbers of the rows kept.
    virtual void RemoveDuplicates( XVector<std::uint32_t>& outRows ) = 0;
    /// Removes the rows that read as NaN, which only floating-point columns have; missing rows do, unless the
    /// default value is a number. `outRows` lists the old numbers of the rows kept. Returns true if rows were
    /// removed.
    virtual bool RemoveNaNs( XVector<std::uint32_t>& outRows ) = 0;
    /// Relates the present rows to a control's value, using the numeric values of the column. Rows whose
    /// result is NaN become missing. Does nothing if the column is not numeric.
    virtual void NormaliseTo( double inReference, XPivotTableControlRelationship inRelationship );
    /// Makes the column `inCount` times as long. With `inInterleaved` each row is repeated `inCount` times in
    /// a row, otherwise the sequence of all rows is repeated.
    virtual void DuplicateAllValues( std::uint32_t inCount, bool inInterleaved ) = 0;
    /// Reorders the rows: new row k is old row `inOrder[k]`. Rows that are not listed are removed. Rows
    /// outside the column are an internal error.
    virtual void Reorder( const XVector<std::uint32_t>& inOrder ) = 0;

    /// True if both columns have the same number of rows, with equal number and equal text in each. A missing
    /// float is NaN and equals nothing, so a floating-point column with missing rows differs from its copy;
    /// but every column equals itself.
    bool operator==( const XPivotColumn& inOther ) const;

    // ---- Storage

    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

    // ---- Names of IDs, process-wide. Register them before several threads use columns.

    /// Registering an ID twice is an internal error.
    static void RegisterID( XPivotColumnID inID, const XString& inName );
    /// Registers the standard IDs, unless this has been done; the first use of any name does so
    /// automatically.
    static void RegisterStandardIDs();
    /// Throws 3209 for an ID that is not registered.
    static XString GetIDName( XPivotColumnID inID );

protected:
    XPivotColumn() = default;
    /// `inColumnName` must be empty except for `kPivotUserDefined` (internal error). Throws 3209.
    XPivotColumn(
        XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName,
        const XString& inUnits, std::uint32_t inRevision );
    /// A copy is in no table; an assignment does not change the table that contains the column.
    XPivotColumn( const XPivotColumn& inOther );
    XPivotColumn& operator=( const XPivotColumn& inOther );

    /// Called by SetTable after the table has been set.
    virtual void SetTableSelf( XPivotTable& inTable );
    /// Called after ID, name, channel or units of a column in a table were changed. Does nothing by default.
    virtual void DescriptorSetSelf();

    friend class XPivotTable;
    /// The present rows that satisfy the condition, ascending. A cancellation point. A relationship above 6
    /// is an internal error.
    virtual XVector<std::int32_t> Filter( XPivotFilterRelationship inRelationship, double inReference ) const;
    virtual XVector<std::int32_t>
    Filter( XPivotFilterRelationship inRelationship, const XString& inReference ) const;

    virtual bool
    DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const = 0;
    virtual bool DoesPass(
        std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference ) const = 0;
    virtual bool DoesPass(
        std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference ) const = 0;

    /// Reads the values of one run of present rows, in the encoding of the class.
    virtual void ReadSparseColumnDataSelf( XStream& inStream, USize inStartRow, USize inRunLength ) = 0;
    virtual void
    WriteSparseColumnDataSelf( XStream& inStream, USize inStartRow, USize inRunLength ) const = 0;

    virtual std::uint32_t GetColumnSizeSelf() const { return static_cast<std::uint32_t>( itsExists.size() ); }

    /// The value that `operator==` compares in place of `GetDataFloat`: must not throw.
    virtual double GetNumberToCompare( std::uint32_t inRow ) const { return GetDataFloat( inRow ); }

    static bool
    DoesPassCompare( double inValue, XPivotFilterRelationship inRelationship, double inReference );
    static bool DoesPassCompare(
        const XString& inValue, XPivotFilterRelationship inRelationship, const XString& inReference );

    /// The presence flags, for derived classes that store values beside them.
    XVector<std::uint8_t>& GetExists() { return itsExists; }
    /// Reads a descriptor that was written as an object; throws 1005 for any other object.
    static XPivotColumnDescriptor ReadDescriptor( XStream& inStream, XOptions inOptions );

    /// Throws for a run that contradicts the presence flags: 1005, or for a run outside the column the
    /// internal error of its class unless `inOptions` has kUntrustedSource.
    [[noreturn]] void RefuseRun( XStream& inStream, const XPivotRun& inRun, XOptions inOptions );

    /// Writes every run of present rows with `WriteSparseColumnDataSelf`, then the end mark.
    void WriteRuns( XStream& inStream ) const;
    /// Reads all runs with `ReadSparseColumnDataSelf`. Throws 1005 unless they cover exactly the present
    /// rows.
    void ReadRuns( XStream& inStream, XOptions inOptions );

private:
    void ReportDescriptorSet();
    void ReadExists( XStream& inStream );
    [[noreturn]] void RefuseExists( XStream& inStream ) const;

    XVector<std::uint8_t> itsExists; // one per row, 0 or 1
    XPivotTable* itsTable = nullptr; // not owned
    XPivotColumnDescriptor itsDescriptor;
    std::uint32_t itsRevision = 0;
    std::uint32_t itsVisibilityOptions = 0;
};
