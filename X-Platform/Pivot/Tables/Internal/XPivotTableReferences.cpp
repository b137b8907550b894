#include "Pivot/Tables/Internal/XPivotTableReferences.h"

#include "Pivot/Tables/XPivotOtherRowRefColumn.h"
#include "Pivot/Tables/XPivotRowRefColumn.h"
#include "Pivot/Tables/XPivotTable.h"

#include <algorithm>

// Keeps objects alive that rows refer to although no row of the table holds them. An object may lose its row
// by an operation (a filter removes the parent but keeps its children); its record with the user-visible ID
// must survive, and must go when the last reference goes.
//
// The pattern of an operation on rows: KeepAll marks all records that rows refer to as kept, so that none is
// removed while columns change one after the other; Settle then decides anew, with the rows as they are now,
// which records have no row and are referred to. If the operation throws, the destructor takes back the marks
// that KeepAll has set.
//
// Appending only looks at the rows that were added (SettleAppended), so that appending many small tables
// takes time in proportion to their rows.

namespace
{
/// The column as one that is bound to a row-reference column, or null.
const XPivotOtherRowRefColumn* FindBound( const XPivotColumn* inColumn )
{
    const auto* references = dynamic_cast<const XPivotOtherRowRefColumn*>( inColumn );
    return references && references->GetRowRefColumn() ? references : nullptr;
}
} // namespace

XPivotTableReferences::XPivotTableReferences( XPivotTable& ioTable )
    : itsTable( ioTable ), itsTargets( ListTargets( ioTable ) )
{
}

void XPivotTableReferences::KeepAll()
{
    for ( XTarget& target : itsTargets )
    {
        const XVector<std::uint8_t> isReferredTo = FindReferredTo( target );
        for ( std::uint32_t place = 0; place < isReferredTo.size(); ++place )
        {
            if ( isReferredTo[place] )
                Keep( target, place );
        }
    }
}

XPivotTableReferences::~XPivotTableReferences()
{
    for ( const XTarget& target : itsTargets )
    {
        for ( const std::uint32_t place : target.keptPlaces )
            target.column->SetKept( place, false );
    }
}

/// All row-reference columns of the table.
XVector<XPivotTableReferences::XTarget> XPivotTableReferences::ListTargets( XPivotTable& ioTable )
{
    XVector<XTarget> targets;
    for ( std::uint32_t i = 0; i < ioTable.GetNumColumns(); ++i )
    {
        if ( auto* column = dynamic_cast<XPivotRowRefColumn*>( &ioTable.GetColumn( i ) ) )
            targets.push_back( { column, {}, {} } );
    }
    for ( std::uint32_t i = 0; i < ioTable.GetNumColumns(); ++i )
    {
        if ( const auto* references = FindBound( &ioTable.GetColumn( i ) ) )
            std::ranges::find( targets, references->GetRowRefColumn(), &XTarget::column )
                ->references.push_back( references );
    }
    return targets;
}

/// Whether rows refer to the record at each place.
XVector<std::uint8_t> XPivotTableReferences::FindReferredTo( const XTarget& inTarget )
{
    const auto& refs = inTarget.column->itsRefs;
    XVector<std::uint8_t> isReferredTo( refs.GetEndPlace() );
    for ( const auto* references : inTarget.references )
    {
        for ( std::uint32_t row = 0; row < references->GetColumnSize(); ++row )
        {
            if ( !references->DoesDataExist( row ) )
                continue;
            const auto place = refs.Find( references->GetDataUUID( row ) );
            if ( place != XPivotRowRefs::kNoPlace )
                isReferredTo[place] = 1;
        }
    }
    return isReferredTo;
}

/// Until it turns out to be settled or not.
void XPivotTableReferences::Keep( XTarget& ioTarget, std::uint32_t inPlace )
{
    if ( ioTarget.column->itsRefs[inPlace].isKept )
        return;
    ioTarget.keptPlaces.push_back( inPlace );
    ioTarget.column->SetKept( inPlace, true );
}

void XPivotTableReferences::SettleAppended( const XPivotTable& inAppended, std::uint32_t inFirstRow )
{
    auto targets = ListTargets( itsTable );
    for ( XTarget& target : targets )
    {
        const auto before = std::ranges::find( itsTargets, target.column, &XTarget::column );
        XTarget& known = before == itsTargets.end() ? target : *before; // what is new goes after a failure
        for ( const auto* references : target.references )
        {
            const auto* appended = FindBound( inAppended.FindColumn( references->GetDescriptor() ) );
            KeepAppended( known, *references, appended ? appended->GetRowRefColumn() : nullptr, inFirstRow );
        }
    }
    for ( const XTarget& target : targets )
        ReleaseAppended( *target.column, inFirstRow );
    itsTargets.clear();
}

void XPivotTableReferences::KeepAppended(
    XTarget& ioTarget, const XPivotOtherRowRefColumn& inReferences,
    const XPivotRowRefColumn* inAppendedObjects, std::uint32_t inFirstRow )
{
    auto& column = *ioTarget.column;
    for ( std::uint32_t row = inFirstRow; row < inReferences.GetColumnSize(); ++row )
    {
        if ( !inReferences.DoesDataExist( row ) )
            continue;
        const XUUID& uuid = inReferences.GetDataUUID( row );
        auto place = column.itsRefs.Find( uuid );
        // The other table knows the object without a row, so this one has to know it from now on, too.
        if ( place == XPivotRowRefs::kNoPlace && inAppendedObjects &&
             inAppendedObjects->GetDataUserVisibleID( uuid ) != 0 )
        {
            column.RequireUserVisibleIDs( 1 );
            place = column.FindOrAddRef( uuid );
        }
        if ( place != XPivotRowRefs::kNoPlace && column.itsRefs[place].rows == 0 )
            Keep( ioTarget, place );
    }
}

/// Objects that have a row now need not be kept.
void XPivotTableReferences::ReleaseAppended( XPivotRowRefColumn& ioColumn, std::uint32_t inFirstRow )
{
    for ( std::uint32_t row = inFirstRow; row < ioColumn.GetColumnSize(); ++row )
    {
        const auto place = ioColumn.itsRowPlaces[row];
        if ( place != XPivotRowRefs::kNoPlace )
            ioColumn.SetKept( place, false );
    }
}

void XPivotTableReferences::Settle()
{
    itsTargets.clear();
    for ( const XTarget& target : ListTargets( itsTable ) )
    {
        const auto& refs = target.column->itsRefs;
        const XVector<std::uint8_t> isReferredTo = FindReferredTo( target );
        for ( std::uint32_t place = 0; place < isReferredTo.size(); ++place )
        {
            if ( refs.IsUsed( place ) )
                target.column->SetKept( place, isReferredTo[place] && refs[place].rows == 0 );
        }
    }
}

void XPivotTableReferences::TakeOver( XPivotTable& ioTable )
{
    for ( const XTarget& target : ListTargets( ioTable ) )
    {
        auto& refs = target.column->itsRefs;
        bool haveAllRows = true;
        refs.ForEach( [&]( const auto& inRecord ) { haveAllRows &= inRecord.rows > 0; } );
        if ( haveAllRows )
            continue;
        const XVector<std::uint8_t> isReferredTo = FindReferredTo( target );
        for ( std::uint32_t place = 0; place < isReferredTo.size(); ++place )
        {
            if ( !isReferredTo[place] || refs[place].rows > 0 )
                continue;
            // The stored count includes the table's own reference.
            --refs[place].others;
            refs[place].isKept = true;
        }
    }
}
