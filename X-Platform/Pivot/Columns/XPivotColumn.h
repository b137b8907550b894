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
/// Threads: not locked; a table and its columns are used by one thread at a time. Reading on several threads
/// is fine while nobody changes the column.
/// Errors: 3209 for an ID that is not registered; reading throws 1005, 1015, 1260, internal errors (1006) for
/// runs outside the column, and leaves a column that is only good for destruction or another reading.
/// Units: rows count from 0.
class KORVALE_API XPivotColumn : public XStorable
{
public:
    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotColumn ); }
    static constexpr XVersion GetSuperClassVersion() { return XVersion(); }

    /// Row numbers are signed 32-bit integers in places.
    static constexpr std::uint32_t kMaxRows = 0x7FFFFFFF;

    /// An option for ReadStream2: runs outside the column are 1005, as other damage is, not an internal error. For
    /// files that come from outside.
    static constexpr XOptions kRefuseOuterRuns = 0x80000000;

    ~XPivotColumn() override;
    XVersion GetVersion() const override { return GetClassVersion(); }

    // ---- Copies

    XPivotColumn* Clone() const override = 0;
    virtual XPivotColumn* CloneForPivot() const { return Clone(); }
    /// A column of the same class, ID, channel, units, revision and visibility options, without rows.
    virtual XPivotColumn* CloneWithoutCopy() const = 0;
    virtual XPivotColumn* CloneWithoutCopyForPivot() const { return CloneWithoutCopy(); }

    /// Takes everything but rows and table from a column, be it of another class: what CloneWithoutCopy
    /// copies.
    void CopySettings( const XPivotColumn& inOther );

    // ---- What the column is

    XPivotColumnID GetID() const { return itsDescriptor.GetID(); }
    void SetID( XPivotColumnID inID );
    /// The registered name of a standard ID, whatever name is stored. Throws 3209.
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

    /// A number that the creator gave the column; it means nothing to the library.
    std::uint32_t GetRevision() const { return itsRevision; }
    void SetRevision( std::uint32_t inRevision ) { itsRevision = inRevision; }
    /// Bits for whoever displays the column; they mean nothing to the library.
    std::uint32_t GetVisibilityOptions() const { return itsVisibilityOptions; }
    void SetVisibilityOptions( std::uint32_t inOptions ) { itsVisibilityOptions = inOptions; }

    /// The table that the column stands in, or null. A copy stands in none.
    XPivotTable* GetTable() const { return itsTable; }
    void SetTable( XPivotTable& inTable );

    // ---- Presence

    std::uint32_t GetColumnSize() const { return GetColumnSizeSelf(); }
    /// False for a row outside the column.
    bool DoesDataExist( std::uint32_t inRow ) const
    {
        return inRow < itsExists.size() && itsExists[inRow] != 0;
    }
    /// One byte per row, 1 where it has a value; empty for a column without values of its own.
    const XVector<std::uint8_t>& GetExistsVector() const { return itsExists; }
    /// True when no row has a value.
    bool IsEmptyColumn() const;

    // ---- Setting values. Beyond the end the column grows, by missing rows in between. Each class says how
    // it takes numbers and texts; a class that cannot take one ignores it.

    /// Replaces all rows, all present. When a text is refused the column stays as it is.
    virtual void SetData( const XVector<XString>& inValues );
    virtual void SetData( const XVector<double>& inValues );
    virtual void SetData( const XString& inValue, std::int32_t inRow, bool inExists );
    virtual void SetData( double inValue, std::int32_t inRow, bool inExists );
    /// Changes the presence alone; ignores a row outside the column.
    virtual void SetDataExists( std::int32_t inRow, bool inExists );
    virtual void AppendData( const XString& inValue, bool inExists );
    virtual void AppendData( double inValue, bool inExists );

    // ---- Rows

    /// Inserts rows of this column into another before `inDestinationRow`. A column of the same class takes
    /// values as they are, any other takes numbers from a numeric column and texts from the rest. A count of 0
    /// does nothing, whatever the rows.
    virtual void CopyRowsInto(
        std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
        std::uint32_t inCount ) const;
    /// The same, overwriting rows of the other column, which grows as needed.
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
    /// Appends all rows of the other column, which may be this one.
    XPivotColumn& operator+=( const XPivotColumn& inOther );

    /// Inserts missing rows before `inRowIndex`, which is at most the row count (internal error otherwise).
    virtual void InsertEmptyRows( std::uint32_t inRowIndex, std::uint32_t inCount ) = 0;
    /// Cuts rows off, or appends missing ones.
    virtual void ResizeRows( std::uint32_t inRowCount ) = 0;
    /// Sets memory aside for that many rows in all, so that the column takes no more than these need while it grows to
    /// them. Changes no rows.
    virtual void ReserveRows( std::uint32_t inRowCount ) { itsExists.reserve( inRowCount ); }
    virtual void Clear() { ResizeRows( 0 ); }
    virtual void DeleteItem( std::uint32_t inRow ) { DeleteItems( inRow, 1 ); }
    /// Removes the rows listed, in any order, listed once or more often. Rows outside the column are an
    /// internal error.
    virtual void DeleteItems( const XVector<std::uint32_t>& inRows );
    virtual void DeleteItems( std::uint32_t inFirst, std::uint32_t inCount ) = 0;

    // ---- Reading values. A missing row reads as the column's default value.

    virtual bool IsNumeric() const = 0;
    virtual bool HasStringRepresentation() const { return true; }
    virtual double GetDataFloat( std::uint32_t inRow ) const = 0;
    virtual XString GetDataString( std::uint32_t inRow ) const = 0;
    /// The first row whose stored value equals `inValue`, present or not; -1 when there is none.
    virtual std::int32_t FindDataFloat( double inValue ) const = 0;
    /// The first row that reads as `inValue`; -1 when there is none.
    virtual std::int32_t FindDataString( const XString& inValue ) const;
    virtual bool IsFilterable() const { return true; }

    /// The numbers of the present rows only, in row order.
    virtual XVector<double> GetFloatVector() const;
    /// The texts of all rows, missing ones too.
    virtual XVector<XString> GetStringVector() const;
    /// The distinct numbers of the present rows, ascending; NaN, at most once, comes first.
    virtual XVector<double> GetFloatSet() const;
    /// The distinct texts of the present rows in the natural order of strings; texts that it ranks equal but
    /// that differ are all there, in bytewise order.
    virtual XVector<XString> GetStringSet() const;

    /// Up to `inMaxCount` rows from `inFirstRow` on as numbers, for loops over many of them: `values[i]` is
    /// the number of row `inFirstRow + i` where `exists[i]` is not 0, and anything elsewhere. A text that is
    /// no number is NaN here. The block lives until the column or `ioScratch` changes.
    struct XFloatBlock
    {
        const double* values;
        const std::uint8_t* exists;
        std::uint32_t count; ///< 0 when no row with a flag is left
    };
    virtual XFloatBlock
    GetFloatBlock( std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const;

    // ---- Order

    /// Sorts by the stored values, stably in both directions, missing rows included. `outOrder[k]` is the old
    /// row that is now row k. NaN is smaller than every number.
    virtual void Sort( XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder ) = 0;
    /// Keeps the first present row of each distinct value; missing rows go. `outRows` are the old rows kept.
    virtual void RemoveDuplicates( XVector<std::uint32_t>& outRows ) = 0;
    /// Removes the rows that read as NaN, missing numbers among them; only columns of floating-point values
    /// have such. `outRows` are the old rows kept; true when any row went.
    virtual bool RemoveNaNs( XVector<std::uint32_t>& outRows ) = 0;
    /// Relates the present rows to a control's value, through the numbers that the column gives and takes.
    /// Results that are no numbers are missing.
    virtual void NormaliseTo( double inReference, XPivotTableControlRelationship inRelationship );
    /// Makes the column `inCount` times as long: each row `inCount` times in a row when `inInterleaved`, else
    /// all rows, `inCount` times over.
    virtual void DuplicateAllValues( std::uint32_t inCount, bool inInterleaved ) = 0;
    /// New row k is old row `inOrder[k]`. A shorter order keeps only the rows listed. Rows outside the column
    /// are an internal error.
    virtual void Reorder( const XVector<std::uint32_t>& inOrder ) = 0;

    /// Same rows, each with equal number and equal text; a missing float is NaN and equals nothing, so only a
    /// column without one equals its copy. A column always equals itself.
    bool operator==( const XPivotColumn& inOther ) const;

    // ---- Storage

    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

    // ---- Names of IDs, for the whole process. Registered before columns are used on several threads.

    /// An ID that is registered already is an internal error.
    static void RegisterID( XPivotColumnID inID, const XString& inName );
    /// Makes sure that the standard IDs are registered; the first use of any name does so by itself.
    static void RegisterStandardIDs();
    /// Throws 3209 for an ID that is not registered.
    static XString GetIDName( XPivotColumnID inID );

protected:
    XPivotColumn() = default;
    /// A name is given for `kPivotUserDefined` only (internal error otherwise). Throws 3209.
    XPivotColumn(
        XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName,
        const XString& inUnits, std::uint32_t inRevision );
    /// Copies are in no table; assignment leaves a column in the table it is in.
    XPivotColumn( const XPivotColumn& inOther );
    XPivotColumn& operator=( const XPivotColumn& inOther );

    /// Called by SetTable after the table was stored.
    virtual void SetTableSelf( XPivotTable& inTable );
    /// Called after ID, name, channel or units of a column in a table were set. Does nothing.
    virtual void DescriptorSetSelf();

    friend class XPivotTable;
    /// The present rows that pass, ascending. A cancellation point. A relationship above 6 is an internal
    /// error.
    virtual XVector<std::int32_t> Filter( XPivotFilterRelationship inRelationship, double inReference ) const;
    virtual XVector<std::int32_t>
    Filter( XPivotFilterRelationship inRelationship, const XString& inReference ) const;

    virtual bool
    DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const = 0;
    virtual bool DoesPass(
        std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference ) const = 0;
    virtual bool DoesPass(
        std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference ) const = 0;

    /// The values of one run of present rows, in the encoding of the class.
    virtual void ReadSparseColumnDataSelf( XStream& inStream, USize inStartRow, USize inRunLength ) = 0;
    virtual void
    WriteSparseColumnDataSelf( XStream& inStream, USize inStartRow, USize inRunLength ) const = 0;

    virtual std::uint32_t GetColumnSizeSelf() const { return static_cast<std::uint32_t>( itsExists.size() ); }

    /// What `operator==` takes for `GetDataFloat`: it never throws.
    virtual double GetNumberToCompare( std::uint32_t inRow ) const { return GetDataFloat( inRow ); }

    static bool
    DoesPassCompare( double inValue, XPivotFilterRelationship inRelationship, double inReference );
    static bool DoesPassCompare(
        const XString& inValue, XPivotFilterRelationship inRelationship, const XString& inReference );

    /// The flags, for the class that keeps values beside them.
    XVector<std::uint8_t>& GetExists() { return itsExists; }
    /// A descriptor that was written as an object; 1005 for any other object.
    static XPivotColumnDescriptor ReadDescriptor( XStream& inStream, XOptions inOptions );

    /// Throws the class's internal error for a run outside the column, unless the options say otherwise, else 1005:
    /// the flags have no such run.
    [[noreturn]] void RefuseRun( XStream& inStream, const XPivotRun& inRun, XOptions inOptions );

    /// Every run of present rows through `WriteSparseColumnDataSelf`, and the end mark.
    void WriteRuns( XStream& inStream ) const;
    /// The same through `ReadSparseColumnDataSelf`. Runs that do not cover exactly the present rows are 1005.
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
