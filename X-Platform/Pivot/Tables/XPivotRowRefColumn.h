#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotReferenceColumn.h"
#include "Pivot/Tables/XPivotRowRefs.h"

#include <set>

/// The identities of a table's rows: each row holds the identifier of its object, and the column gives every
/// identifier that it meets a user-visible ID, 1 and upwards. Other columns and the program may hold
/// references to the same identifiers, in the table or not.
///
/// For each identifier there is a record, which lives as long as a row holds the identifier, a reference was added and
/// not given back, or the table keeps it for rows that refer to it. Row operations keep the records in step: a record
/// names a row that holds its identifier, any one where several do. The identifier of all zeros stands for no object
/// and is never recorded. No two identifiers have one user-visible ID.
///
/// Errors: user-visible IDs that would run past the top of their range are an internal error. Reading throws
/// 1005 for records that contradict the rows or one another, for equal user-visible IDs and for a next one
/// that is in use, besides what XPivotColumn throws.
class KORVALE_API XPivotRowRefColumn
    : public XPivotColumnClassT<XPivotRowRefColumn, XPivotReferenceColumn, kClassPivotRowRefColumn>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;

    /// In place of a row, in records of identifiers that no row holds.
    static constexpr std::uint32_t kNoRow = XPivotRowRefs::kNoRow;

    /// A record, as it is stored.
    struct XReference
    {
        XUUID uuid;
        std::uint32_t count;         ///< of references, those of rows included
        std::uint32_t userVisibleID; ///< never 0
        std::uint32_t row;           ///< or kNoRow

        bool operator==( const XReference& ) const = default;
    };

    // ---- References

    /// Registers a reference of a row that is to hold the identifier; rows that are set do so by themselves.
    /// The user-visible ID 0 takes the next one; one that another identifier has is 1013. Overwrites row and
    /// user-visible ID of a record that is there.
    void AddRef( std::uint32_t inRow, const XUUID& inUUID, std::uint32_t inUserVisibleID );
    /// Registers a reference from elsewhere. A new record takes the next user-visible ID and has no row.
    void AddRef( const XUUID& inUUID );
    /// Gives back a reference from elsewhere, if there is one.
    void DeleteRef( const XUUID& inUUID );
    /// Gives back the references of rows, which are left without values.
    void DeleteRef( std::uint32_t inRow ) { SetDataExists( static_cast<std::int32_t>( inRow ), false ); }
    void DeleteRefs( std::uint32_t inFirst, std::uint32_t inCount );
    void DeleteRefs( const XVector<std::uint32_t>& inRows );

    /// All records, in the order in which they are stored.
    XVector<XReference> GetReferences() const;
    std::uint32_t GetNumReferences() const { return itsRefs.GetSize(); }

    // ---- User-visible IDs

    std::uint32_t GetDataUserVisibleID( std::uint32_t inRow ) const override;
    /// 0 for an identifier that is not known.
    std::uint32_t GetDataUserVisibleID( const XUUID& inUUID ) const;
    /// The ID that the next new identifier takes. It passes over IDs that were given.
    std::uint32_t GetNextUserVisibleID() const { return itsNumbering.next; }
    /// Numbers the identifiers anew: those of rows from 1 on in the order of their first rows, then all
    /// others.
    void RenumberUserVisibleIDs();

    /// The row that the record names; -1 for identifiers that no row holds. Fast, unless the row that was
    /// named has changed while others hold the identifier: then all rows are searched.
    std::int32_t FindDataUUID( const XUUID& inUUID ) const;
    /// The same, by the user-visible ID.
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
    /// For rows that each hold an identifier of their own.
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
    friend class XPivotTableReferences; // keeps objects known that rows refer to

    using XPlace = XPivotRowRefs::XPlace;
    static constexpr XPlace kNoPlace = XPivotRowRefs::kNoPlace;

    struct XNumbering
    {
        std::uint32_t next = 1;        // never in use
        std::set<std::uint32_t> ahead; // those in use above it
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
    XVector<XPlace> itsRowPlaces; // of each row's record; kNoPlace for rows that name no object
    XNumbering itsNumbering;
};
