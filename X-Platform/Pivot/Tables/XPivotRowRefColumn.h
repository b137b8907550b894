#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotReferenceColumn.h"
#include "Pivot/Tables/XPivotRowRefs.h"

#include <set>

/// The identities of a table's rows: each row holds the identifier of its object, and the column assigns to
/// each new identifier a user-visible ID, counting from 1. Other columns and the program may hold references
/// to the same identifiers, whether or not a row of the table holds them.
///
/// Each identifier has a record, which exists as long as a row holds the identifier, an added reference has
/// not been released, or the table keeps it for rows that refer to it. Row operations update the records: a
/// record names a row that holds its identifier, or any one of several. The nil identifier means no object
/// and is never recorded. User-visible IDs are unique.
///
/// Errors: exceeding the range of user-visible IDs is an internal error. Besides the errors of XPivotColumn,
/// reading throws 1005 for records that contradict the rows or one another, for duplicate user-visible IDs
/// and for a next ID that is in use.
class KORVALE_API XPivotRowRefColumn
    : public XPivotColumnClassT<XPivotRowRefColumn, XPivotReferenceColumn, kClassPivotRowRefColumn>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;

    /// Replaces the row number in records of identifiers that no row holds.
    static constexpr std::uint32_t kNoRow = XPivotRowRefs::kNoRow;

    /// A record in its stored form.
    struct XReference
    {
        XUUID uuid;
        std::uint32_t count;         ///< of references, including those of rows
        std::uint32_t userVisibleID; ///< never 0
        std::uint32_t row;           ///< kNoRow if no row holds the identifier

        bool operator==( const XReference& ) const = default;
    };

    // ---- References

    /// Adds a reference to an identifier that row `inRow` is going to hold, names that row in the record and
    /// sets the user-visible ID, also in an existing record. Setting the value of a row adds its reference
    /// automatically. The ID 0 selects the next one; an ID of another identifier is 1013. Release the
    /// reference with `DeleteRef( inUUID )`.
    void AddRef( std::uint32_t inRow, const XUUID& inUUID, std::uint32_t inUserVisibleID );
    /// Adds a reference from elsewhere. A new record gets the next user-visible ID and has no row.
    void AddRef( const XUUID& inUUID );
    /// Releases a reference from elsewhere; does nothing if there is none.
    void DeleteRef( const XUUID& inUUID );
    /// Releases the references of rows, which become missing.
    void DeleteRef( std::uint32_t inRow ) { SetDataExists( static_cast<std::int32_t>( inRow ), false ); }
    void DeleteRefs( std::uint32_t inFirst, std::uint32_t inCount );
    void DeleteRefs( const XVector<std::uint32_t>& inRows );

    /// All records, in the order in which they are stored.
    XVector<XReference> GetReferences() const;
    std::uint32_t GetNumReferences() const { return itsRefs.GetSize(); }

    // ---- User-visible IDs

    std::uint32_t GetDataUserVisibleID( std::uint32_t inRow ) const override;
    /// 0 for an unknown identifier.
    std::uint32_t GetDataUserVisibleID( const XUUID& inUUID ) const;
    /// The ID that the next new identifier will get. IDs already in use are skipped.
    std::uint32_t GetNextUserVisibleID() const { return itsNumbering.next; }
    /// Renumbers the identifiers from 1: those of rows first, in the order of their first rows, then all
    /// others.
    void RenumberUserVisibleIDs();

    /// The row named by the record; -1 for identifiers that no row holds. Takes constant time, unless the
    /// named row has changed while other rows hold the identifier: then all rows are searched.
    std::int32_t FindDataUUID( const XUUID& inUUID ) const;
    /// Finds a row by user-visible ID; otherwise like FindDataUUID.
    std::int32_t FindDataFloat( double inValue ) const override;

    // ---- Rows

    using XPivotReferenceColumn::SetData;
    void SetValue( const XUUID& inValue, std::int32_t inRow, bool inExists ) override;
    void AppendValue( const XUUID& inValue, bool inExists ) override;
    void SetDataExists( std::int32_t inRow, bool inExists ) override;

    void CopyRowsInto(
        std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
        std::uint32_t inCount ) const override;
    void CopyRowsOver(
        std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
        std::uint32_t inCount ) const override;
    void InsertEmptyRows( std::uint32_t inRowIndex, std::uint32_t inCount ) override;
    void ResizeRows( std::uint32_t inRowCount ) override;
    /// Assumes that each row holds a different identifier.
    void ReserveRows( std::uint32_t inRowCount ) override;
    using XPivotReferenceColumn::DeleteItems;
    void DeleteItems( std::uint32_t inFirst, std::uint32_t inCount ) override;
    void Reorder( const XVector<std::uint32_t>& inOrder ) override;

    // ---- Storage

    USize64 GetStreamUsage() const override;
    void ReadStream2( XStream& inStream, XOptions inOptions = kNoOptions ) override;
    void WriteStream2( XStream& inStream, XOptions inOptions = kNoOptions ) const override;

protected:
    void DescriptorSetSelf() override;

private:
    friend class XPivotTable;           // takes user-visible IDs back
    friend class XPivotTableReferences; // keeps objects that rows refer to

    using XPlace = XPivotRowRefs::XPlace;
    static constexpr XPlace kNoPlace = XPivotRowRefs::kNoPlace;

    struct XNumbering
    {
        std::uint32_t next = 1;        // never in use
        std::set<std::uint32_t> ahead; // the IDs in use above `next`
    };

    void RequireUserVisibleIDs( USize64 inCount ) const;
    std::uint32_t TakeUserVisibleID();
    void PassIDsInUse();
    void SetUserVisibleID( XPlace inPlace, std::uint32_t inID );
    XPlace FindOrAddRef( const XUUID& inUUID );
    void AddOther( XPlace inPlace );
    void SetKept( XPlace inPlace, bool inIsKept );
    void RemoveIfUnused( XPlace inPlace );

    void HoldRow( std::uint32_t inRow );
    void HoldRows( USize inFirst, USize inEnd );
    void Release( XPlace inPlace, std::uint32_t inRow );
    void ReleaseRows( USize inFirst, USize inEnd );
    void NameRows( USize inFirst );
    std::uint32_t FindRow( XPlace inPlace ) const;
    XVector<std::uint32_t> ListRowsByPlace() const;

    bool IsHeldBy( const XUUID& inUUID, std::uint32_t inRow ) const;
    void ReadReferences( XStream& inStream );
    void ReadReference( XStream& inStream );
    void CheckReference( XStream& inStream, const XReference& inReference ) const;
    void ReadNumbering( XStream& inStream );
    void FindRowPlaces( XStream& inStream );

    XPivotRowRefs itsRefs;
    XVector<XPlace> itsRowPlaces; // of each row's record; kNoPlace for rows without an object
    XNumbering itsNumbering;
};
