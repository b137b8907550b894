#include "Pivot/Tables/XPivotRowRefColumn.h"

#include "Core/Streams/XStreamFields.h"
#include "Ground/XErrorNumbers.h"
#include "Pivot/Tables/XPivotTable.h"

#include <algorithm>
#include <limits>
#include <typeinfo>
#include <utility>

// A column has the identifiers themselves (itsColumnData, one per row), the records of all known identifiers
// (itsRefs), and for each row the place of its record (itsRowPlaces), so that row operations need no look-up
// by identifier. Between two operations the following holds:
// - itsRowPlaces has as many elements as the column has rows; kNoPlace stands for a row without an object.
// - A record's `rows` is the number of rows that hold its identifier, and a record exists exactly while
//   `rows`, `others` or `isKept` is not zero (RemoveIfUnused).
// - A record's `row` is one of the rows that hold it, kNoRow if there is none, or kSomeRow: then the row that
//   it named has let go of it while others hold it, and which ones is searched only on request.
// - itsNumbering.next is not in use and greater than all IDs in use except those in `ahead`. IDs that the
//   program sets may leave gaps; `next` moves past those it meets (PassIDsInUse), so assigning n IDs in order
//   takes O(n log n) altogether.
//
// Operations that may fail ask for the necessary IDs first (RequireUserVisibleIDs), so that a failure leaves
// rows and records as they were.

namespace
{
constexpr std::uint32_t kMostNumbers = std::numeric_limits<std::uint32_t>::max();
constexpr USize64 kReferenceSize = XUUID::kByteCount + 3 * sizeof( std::uint32_t );

XPivotRowRefColumn::XReference ToReference(
    const XPivotRowRefs::XRecord& inRecord, const XVector<std::uint32_t>& inRowsByPlace,
    XPivotRowRefs::XPlace inPlace )
{
    // The table's own reference counts as one in the stored form, which has no flag for it;
    // XPivotTableReferences::TakeOver recognises it after reading.
    const bool isKept = inRecord.isKept && inRecord.rows == 0; // or to be given back
    const std::uint64_t count = std::uint64_t( inRecord.rows ) + inRecord.others + isKept;
    return {
        inRecord.uuid, static_cast<std::uint32_t>( std::min<std::uint64_t>( count, kMostNumbers ) ),
        inRecord.userVisibleID,
        inRecord.row == XPivotRowRefs::kSomeRow ? inRowsByPlace[inPlace] : inRecord.row };
}

std::string DescribeReference( const XPivotRowRefColumn::XReference& inReference )
{
    const auto& [uuid, count, userVisibleID, row] = inReference;
    return "Reference to " + std::string( uuid.UUIDToString().GetStringView() ) + ": user-visible ID " +
        std::to_string( userVisibleID ) + ", references " + std::to_string( count ) +
        ( row != XPivotRowRefColumn::kNoRow ? ", row " + std::to_string( row ) : ", no row" );
}
} // namespace

// A Windows DLL exports only those constants of a class that have a definition in it.
constexpr std::uint32_t XPivotRowRefColumn::kNoRow;

// ---- References

void XPivotRowRefColumn::RequireUserVisibleIDs( USize64 inCount ) const
{
    // The IDs in `ahead` are all greater than `next`, and each of them may have to be passed.
    XAssert( inCount + itsNumbering.ahead.size() <= kMostNumbers - itsNumbering.next );
}

std::uint32_t XPivotRowRefColumn::TakeUserVisibleID()
{
    RequireUserVisibleIDs( 1 );
    const std::uint32_t taken = itsNumbering.next++;
    PassIDsInUse();
    return taken;
}

void XPivotRowRefColumn::PassIDsInUse()
{
    auto& [next, ahead] = itsNumbering;
    for ( ; !ahead.empty() && *ahead.begin() == next; ++next )
        ahead.erase( ahead.begin() );
}

/// An ID that no other record has.
void XPivotRowRefColumn::SetUserVisibleID( XPlace inPlace, std::uint32_t inID )
{
    XAssert( inID < kMostNumbers );
    itsNumbering.ahead.erase( itsRefs[inPlace].userVisibleID );
    itsRefs.SetUserVisibleID( inPlace, inID );
    if ( inID >= itsNumbering.next )
        itsNumbering.ahead.insert( inID );
    PassIDsInUse();
}

/// A new record has a user-visible ID, and no references yet.
XPivotRowRefColumn::XPlace XPivotRowRefColumn::FindOrAddRef( const XUUID& inUUID )
{
    const XPlace place = itsRefs.FindOrAdd( inUUID );
    if ( itsRefs[place].userVisibleID == 0 )
        itsRefs.SetUserVisibleID( place, TakeUserVisibleID() );
    return place;
}

void XPivotRowRefColumn::AddOther( XPlace inPlace )
{
    XAssert( itsRefs[inPlace].others < kMostNumbers );
    ++itsRefs[inPlace].others;
}

void XPivotRowRefColumn::SetKept( XPlace inPlace, bool inIsKept )
{
    itsRefs[inPlace].isKept = inIsKept;
    RemoveIfUnused( inPlace );
}

void XPivotRowRefColumn::RemoveIfUnused( XPlace inPlace )
{
    const auto& record = itsRefs[inPlace];
    if ( record.rows > 0 || record.others > 0 || record.isKept )
        return;
    itsNumbering.ahead.erase( record.userVisibleID );
    itsRefs.Remove( inPlace );
}

void XPivotRowRefColumn::AddRef( std::uint32_t inRow, const XUUID& inUUID, std::uint32_t inUserVisibleID )
{
    if ( inUUID.IsNil() )
        return;
    const XPlace found = itsRefs.Find( inUUID );
    const XPlace holder = itsRefs.FindUserVisibleID( inUserVisibleID );
    // The ID belongs to another object: nothing has been changed yet.
    if ( holder != kNoPlace && holder != found )
        XThrow( kErrorBadParameters );
    const std::uint32_t userVisibleID = inUserVisibleID != 0 ? inUserVisibleID : TakeUserVisibleID();
    XAssert( userVisibleID < kMostNumbers );
    const XPlace place = itsRefs.FindOrAdd( inUUID );
    AddOther( place );
    SetUserVisibleID( place, userVisibleID );
    itsRefs[place].row = inRow;
}

void XPivotRowRefColumn::AddRef( const XUUID& inUUID )
{
    if ( inUUID.IsNil() )
        return;
    RequireUserVisibleIDs( 1 );
    AddOther( FindOrAddRef( inUUID ) );
}

void XPivotRowRefColumn::DeleteRef( const XUUID& inUUID )
{
    const XPlace place = itsRefs.Find( inUUID );
    if ( place == kNoPlace || itsRefs[place].others == 0 )
        return;
    --itsRefs[place].others;
    RemoveIfUnused( place );
}

void XPivotRowRefColumn::DeleteRefs( std::uint32_t inFirst, std::uint32_t inCount )
{
    XAssert( USize( inFirst ) + inCount <= GetColumnSize() );
    for ( std::uint32_t row = inFirst; row < inFirst + inCount; ++row )
        DeleteRef( row );
}

void XPivotRowRefColumn::DeleteRefs( const XVector<std::uint32_t>& inRows )
{
    for ( const std::uint32_t row : inRows )
        DeleteRef( row );
}

XVector<XPivotRowRefColumn::XReference> XPivotRowRefColumn::GetReferences() const
{
    XVector<XReference> references;
    references.reserve( itsRefs.GetSize() );
    const XVector<std::uint32_t> rows = ListRowsByPlace();
    itsRefs.ForEach(
        [&]( const auto& inRecord )
        { references.push_back( ToReference( inRecord, rows, itsRefs.GetPlace( inRecord ) ) ); } );
    return references;
}

// ---- References of rows

/// Registers the identifier that the row holds, if any.
void XPivotRowRefColumn::HoldRow( std::uint32_t inRow )
{
    const XUUID& uuid = itsColumnData[inRow];
    if ( !DoesDataExist( inRow ) || uuid.IsNil() )
        return;
    const XPlace place = FindOrAddRef( uuid );
    auto& record = itsRefs[place];
    ++record.rows;
    record.row = inRow;
    itsRowPlaces[inRow] = place;
}

void XPivotRowRefColumn::HoldRows( USize inFirst, USize inEnd )
{
    for ( USize row = inFirst; row < inEnd; ++row )
        HoldRow( static_cast<std::uint32_t>( row ) );
}

/// Releases one row's reference. If other rows hold the identifier, the row to name is searched only when
/// needed: they may all be released next.
void XPivotRowRefColumn::Release( XPlace inPlace, std::uint32_t inRow )
{
    if ( inPlace == kNoPlace )
        return;
    auto& record = itsRefs[inPlace];
    if ( --record.rows == 0 )
        record.row = kNoRow;
    else if ( record.row == inRow )
        record.row = XPivotRowRefs::kSomeRow;
    RemoveIfUnused( inPlace );
}

void XPivotRowRefColumn::ReleaseRows( USize inFirst, USize inEnd )
{
    for ( USize row = inFirst; row < inEnd; ++row )
        Release( std::exchange( itsRowPlaces[row], kNoPlace ), static_cast<std::uint32_t>( row ) );
}

/// Sets the row of the records of all rows from the first one on.
void XPivotRowRefColumn::NameRows( USize inFirst )
{
    for ( USize row = inFirst; row < itsRowPlaces.size(); ++row )
    {
        if ( itsRowPlaces[row] != kNoPlace )
            itsRefs[itsRowPlaces[row]].row = static_cast<std::uint32_t>( row );
    }
}

/// The row that a record names, or kNoRow.
std::uint32_t XPivotRowRefColumn::FindRow( XPlace inPlace ) const
{
    if ( itsRefs[inPlace].row != XPivotRowRefs::kSomeRow )
        return itsRefs[inPlace].row;
    const auto found = std::find( itsRowPlaces.begin(), itsRowPlaces.end(), inPlace );
    return found == itsRowPlaces.end() ? kNoRow : static_cast<std::uint32_t>( found - itsRowPlaces.begin() );
}

/// A row of each record that some row holds, by the records' places.
XVector<std::uint32_t> XPivotRowRefColumn::ListRowsByPlace() const
{
    XVector<std::uint32_t> rows( itsRefs.GetEndPlace(), kNoRow );
    for ( USize row = itsRowPlaces.size(); row-- > 0; )
    {
        if ( itsRowPlaces[row] != kNoPlace )
            rows[itsRowPlaces[row]] = static_cast<std::uint32_t>( row );
    }
    return rows;
}

// ---- User-visible IDs

std::uint32_t XPivotRowRefColumn::GetDataUserVisibleID( std::uint32_t inRow ) const
{
    if ( inRow >= itsRowPlaces.size() || itsRowPlaces[inRow] == kNoPlace )
        return 0;
    return itsRefs[itsRowPlaces[inRow]].userVisibleID;
}

std::uint32_t XPivotRowRefColumn::GetDataUserVisibleID( const XUUID& inUUID ) const
{
    const XPlace place = itsRefs.Find( inUUID );
    return place == kNoPlace ? 0 : itsRefs[place].userVisibleID;
}

void XPivotRowRefColumn::RenumberUserVisibleIDs()
{
    itsNumbering = XNumbering();
    for ( XPlace place = 0; place < itsRefs.GetEndPlace(); ++place )
        itsRefs.SetUserVisibleID( place, 0 );
    const auto number = [this]( XPlace inPlace )
    {
        if ( itsRefs[inPlace].userVisibleID == 0 )
            itsRefs.SetUserVisibleID( inPlace, TakeUserVisibleID() );
    };
    for ( const XPlace place : itsRowPlaces )
    {
        if ( place != kNoPlace )
            number( place );
    }
    itsRefs.ForEach( [&]( const auto& inRecord ) { number( itsRefs.GetPlace( inRecord ) ); } );
}

bool XPivotRowRefColumn::IsHeldBy( const XUUID& inUUID, std::uint32_t inRow ) const
{
    return DoesDataExist( inRow ) && itsColumnData[inRow] == inUUID;
}

std::int32_t XPivotRowRefColumn::FindDataUUID( const XUUID& inUUID ) const
{
    const XPlace place = itsRefs.Find( inUUID );
    const std::uint32_t row = place == kNoPlace ? kNoRow : FindRow( place );
    return IsHeldBy( inUUID, row ) ? static_cast<std::int32_t>( row ) : -1;
}

std::int32_t XPivotRowRefColumn::FindDataFloat( double inValue ) const
{
    if ( !( inValue >= 1 && inValue <= kMostNumbers ) )
        return -1;
    const auto userVisibleID = static_cast<std::uint32_t>( inValue );
    const XPlace place = userVisibleID == inValue ? itsRefs.FindUserVisibleID( userVisibleID ) : kNoPlace;
    return place == kNoPlace ? -1 : FindDataUUID( itsRefs[place].uuid );
}

// ---- Rows

void XPivotRowRefColumn::SetValue( const XUUID& inValue, std::int32_t inRow, bool inExists )
{
    XAssert( inRow >= 0 );
    RequireUserVisibleIDs( inExists ? 1 : 0 );
    const XUUID value = inValue; // which may lie in this column
    const std::uint32_t row = static_cast<std::uint32_t>( inRow );
    // The previous identifier is released before the new one is registered. If only this row holds it, its
    // record goes, so setting the same identifier again gives it a new user-visible ID.
    if ( row < GetColumnSize() )
        ReleaseRows( row, USize( row ) + 1 );
    XPivotReferenceColumn::SetValue( value, inRow, inExists );
    HoldRow( row );
}

void XPivotRowRefColumn::AppendValue( const XUUID& inValue, bool inExists )
{
    XAssert( GetColumnSize() < kMaxRows );
    SetValue( inValue, static_cast<std::int32_t>( GetColumnSize() ), inExists );
}

void XPivotRowRefColumn::SetDataExists( std::int32_t inRow, bool inExists )
{
    if ( inRow >= 0 && static_cast<std::uint32_t>( inRow ) < GetColumnSize() )
        SetValue( itsColumnData[static_cast<std::uint32_t>( inRow )], inRow, inExists );
}

void XPivotRowRefColumn::CopyRowsInto(
    std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
    std::uint32_t inCount ) const
{
    if ( inCount == 0 || typeid( inDestination ) != typeid( *this ) )
        return XPivotReferenceColumn::CopyRowsInto( inSourceRow, inDestination, inDestinationRow, inCount );
    auto& destination = static_cast<XPivotRowRefColumn&>( inDestination );
    destination.RequireUserVisibleIDs( inCount );
    XPivotReferenceColumn::CopyRowsInto( inSourceRow, destination, inDestinationRow, inCount );
    // `destination` may be this column: the base class has copied the values before anything else is changed.
    auto& places = destination.itsRowPlaces;
    places.insert( places.begin() + static_cast<std::ptrdiff_t>( inDestinationRow ), inCount, kNoPlace );
    destination.HoldRows( inDestinationRow, USize( inDestinationRow ) + inCount );
    destination.NameRows( USize( inDestinationRow ) + inCount );
}

void XPivotRowRefColumn::CopyRowsOver(
    std::uint32_t inSourceRow, XPivotColumn& inDestination, std::uint32_t inDestinationRow,
    std::uint32_t inCount ) const
{
    if ( inCount == 0 || typeid( inDestination ) != typeid( *this ) )
        return XPivotReferenceColumn::CopyRowsOver( inSourceRow, inDestination, inDestinationRow, inCount );
    auto& destination = static_cast<XPivotRowRefColumn&>( inDestination );
    destination.RequireUserVisibleIDs( inCount );
    XPivotReferenceColumn::CopyRowsOver( inSourceRow, destination, inDestinationRow, inCount );
    // Added before the previous rows are released, so that identifiers in both keep their numbers.
    auto& places = destination.itsRowPlaces;
    const auto first = places.begin() + static_cast<std::ptrdiff_t>( inDestinationRow );
    const XVector<XPlace> replaced( first, first + static_cast<std::ptrdiff_t>( inCount ) );
    std::fill_n( first, inCount, kNoPlace );
    destination.HoldRows( inDestinationRow, USize( inDestinationRow ) + inCount );
    for ( std::uint32_t i = 0; i < inCount; ++i )
        destination.Release( replaced[i], inDestinationRow + i );
}

void XPivotRowRefColumn::InsertEmptyRows( std::uint32_t inRowIndex, std::uint32_t inCount )
{
    XPivotReferenceColumn::InsertEmptyRows( inRowIndex, inCount );
    itsRowPlaces.insert(
        itsRowPlaces.begin() + static_cast<std::ptrdiff_t>( inRowIndex ), inCount, kNoPlace );
    // The rows behind have new numbers: O(n), as for the insertion itself.
    NameRows( USize( inRowIndex ) + inCount );
}

void XPivotRowRefColumn::ResizeRows( std::uint32_t inRowCount )
{
    if ( inRowCount < GetColumnSize() )
        return DeleteItems( inRowCount, GetColumnSize() - inRowCount );
    XPivotReferenceColumn::ResizeRows( inRowCount );
    itsRowPlaces.resize( inRowCount, kNoPlace );
}

void XPivotRowRefColumn::ReserveRows( std::uint32_t inRowCount )
{
    XPivotReferenceColumn::ReserveRows( inRowCount );
    itsRowPlaces.reserve( inRowCount );
    itsRefs.Reserve( inRowCount );
}

void XPivotRowRefColumn::DeleteItems( std::uint32_t inFirst, std::uint32_t inCount )
{
    XPivotReferenceColumn::DeleteItems( inFirst, inCount );
    ReleaseRows( inFirst, USize( inFirst ) + inCount );
    const auto first = itsRowPlaces.begin() + static_cast<std::ptrdiff_t>( inFirst );
    itsRowPlaces.erase( first, first + static_cast<std::ptrdiff_t>( inCount ) );
    NameRows( inFirst );
}

void XPivotRowRefColumn::Reorder( const XVector<std::uint32_t>& inOrder )
{
    XPivotReferenceColumn::Reorder( inOrder );
    // The order may repeat rows and leave rows out. Counting first makes it one release or one addition for
    // each old row, instead of a release of all rows and a new registration.
    XVector<std::uint32_t> copies( itsRowPlaces.size(), 0 );
    for ( const std::uint32_t row : inOrder )
        ++copies[row];
    for ( USize row = 0; row < copies.size(); ++row )
    {
        const XPlace place = itsRowPlaces[row];
        if ( copies[row] == 0 )
            Release( place, static_cast<std::uint32_t>( row ) );
        // The row itself is counted already.
        else if ( place != kNoPlace )
            itsRefs[place].AddRows( copies[row] - 1 );
    }
    XVector<XPlace> places( inOrder.size() );
    for ( USize row = 0; row < places.size(); ++row )
        places[row] = itsRowPlaces[inOrder[row]];
    itsRowPlaces.swap( places );
    NameRows( 0 );
}

void XPivotRowRefColumn::DescriptorSetSelf()
{
    GetTable()->BindColumns();
}

// ---- Storage

USize64 XPivotRowRefColumn::GetStreamUsage() const
{
    const USize64 countAndNext = 2 * sizeof( std::uint32_t );
    return XPivotReferenceColumn::GetStreamUsage() + itsRefs.GetSize() * kReferenceSize + countAndNext;
}

void XPivotRowRefColumn::WriteStream2( XStream& inStream, XOptions inOptions ) const
{
    XPivotReferenceColumn::WriteStream2( inStream, inOptions );
    inStream.Write32( itsRefs.GetSize() );
    const XVector<std::uint32_t> rows = ListRowsByPlace();
    itsRefs.ForEach(
        [&]( const XPivotRowRefs::XRecord& inRecord )
        {
            const XReference reference = ToReference( inRecord, rows, itsRefs.GetPlace( inRecord ) );
            inStream.WriteUUID( reference.uuid );
            inStream.Write32( reference.count );
            inStream.Write32( reference.userVisibleID );
            inStream.Write32( IsHeldBy( reference.uuid, reference.row ) ? reference.row : kNoRow );
        } );
    inStream.Write32( itsNumbering.next );
}

void XPivotRowRefColumn::ReadStream2( XStream& inStream, XOptions inOptions )
{
    itsRefs = XPivotRowRefs();
    itsRowPlaces.clear();
    XPivotReferenceColumn::ReadStream2( inStream, inOptions );
    try
    {
        ReadReferences( inStream );
        ReadNumbering( inStream );
    }
    catch ( ... )
    {
        itsRefs = XPivotRowRefs();
        itsRowPlaces.clear();
        XPivotReferenceColumn::ResizeRows( 0 );
        throw;
    }
}

void XPivotRowRefColumn::ReadReferences( XStream& inStream )
{
    const std::uint32_t count = XReadField32( inStream, "References" );
    if ( !inStream.GetObserver() ) // to an observer those that exist are reported
        inStream.CheckRemaining( count, kReferenceSize );
    // Each row that has been read took at least its flag in the stream, so this limits what a forged count
    // can allocate.
    itsRefs.Reserve( std::min( count, GetColumnSize() ) ); // The rows have been read.
    for ( std::uint32_t i = 0; i < count; ++i )
        ReadReference( inStream );
    XBeginField( inStream, "the next user-visible ID" );
    FindRowPlaces( inStream );
}

void XPivotRowRefColumn::ReadNumbering( XStream& inStream )
{
    XVector<std::uint32_t> ids;
    ids.reserve( itsRefs.GetSize() );
    itsRefs.ForEach( [&]( const auto& inRecord ) { ids.push_back( inRecord.userVisibleID ); } );
    std::ranges::sort( ids );
    const std::uint32_t next = XReadField32( inStream, "Next user-visible ID" );
    const auto ahead = std::ranges::lower_bound( ids, next );
    const bool isNextInUse = ahead != ids.end() && *ahead == next;
    if ( next == 0 )
        XRefuse( inStream, kErrorStreamCorrupted, [] { return "the next user-visible ID is 0"; } );
    if ( isNextInUse )
        XRefuse(
            inStream, kErrorStreamCorrupted,
            [&] { return "the next user-visible ID, " + std::to_string( next ) + ", is in use"; } );
    itsNumbering = { next, { ahead, ids.end() } };
}

/// Takes all references for references from elsewhere, until the rows are known to have some of them.
void XPivotRowRefColumn::ReadReference( XStream& inStream )
{
    XBeginField( inStream, "a reference" );
    XReference reference;
    reference.uuid = inStream.ReadUUID();
    reference.count = inStream.Read32();
    reference.userVisibleID = inStream.Read32();
    reference.row = inStream.Read32();
    CheckReference( inStream, reference );
    XEndField( inStream, [&] { return DescribeReference( reference ); } );
    const XPlace place = itsRefs.FindOrAdd( reference.uuid );
    itsRefs[place].others = reference.count;
    itsRefs[place].row = reference.row;
    itsRefs.SetUserVisibleID( place, reference.userVisibleID );
}

void XPivotRowRefColumn::CheckReference( XStream& inStream, const XReference& inReference ) const
{
    const auto& [uuid, count, userVisibleID, row] = inReference;
    const auto refuse = [&]( const auto& inGetFault )
    { XRefuse( inStream, kErrorStreamCorrupted, [&] { return "a reference is wrong: " + inGetFault(); } ); };
    const auto text = []( const char* inText ) { return [inText] { return std::string( inText ); }; };
    if ( uuid.IsNil() )
        refuse( text( "a reference to no object" ) );
    if ( count == 0 )
        refuse( text( "nothing refers to it" ) );
    if ( userVisibleID == 0 )
        refuse( text( "its user-visible ID is 0" ) );
    if ( itsRefs.FindUserVisibleID( userVisibleID ) != kNoPlace )
        refuse(
            [number = userVisibleID] {
                return "its user-visible ID, " + std::to_string( number ) + ", is that of another reference";
            } );
    if ( row != kNoRow && !IsHeldBy( uuid, row ) )
        refuse( [number = row]
                { return "row " + std::to_string( number ) + " does not hold its identifier"; } );
    if ( itsRefs.Find( uuid ) != kNoPlace )
        refuse( text( "there is a reference to the same object before" ) );
}

void XPivotRowRefColumn::FindRowPlaces( XStream& inStream )
{
    itsRowPlaces.assign( GetColumnSize(), kNoPlace );
    for ( std::uint32_t row = 0; row < GetColumnSize(); ++row )
    {
        if ( !DoesDataExist( row ) || itsColumnData[row].IsNil() )
            continue;
        itsRowPlaces[row] = itsRefs.Find( itsColumnData[row] );
        if ( itsRowPlaces[row] == kNoPlace )
            XRefuse(
                inStream, kErrorStreamCorrupted,
                [&] {
                    return "the references end, but there is no reference to the object of row " +
                        std::to_string( row );
                } );
        auto& record = itsRefs[itsRowPlaces[row]];
        if ( record.others == 0 )
            XRefuse(
                inStream, kErrorStreamCorrupted,
                [&]
                {
                    return "the references end, but more rows hold the object of row " +
                        std::to_string( row ) + " than its reference counts";
                } );
        // One of the stored references turns out to be this row's.
        --record.others;
        ++record.rows;
        if ( record.row == kNoRow )
            record.row = row;
    }
}
