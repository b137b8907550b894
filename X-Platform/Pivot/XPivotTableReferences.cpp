#include "Pivot/XPivotTableReferences.h"

#include "Pivot/XPivotOtherRowRefColumn.h"
#include "Pivot/XPivotRowRefColumn.h"
#include "Pivot/XPivotTable.h"

#include <algorithm>

namespace
{
/// The column as one that is bound to a row-reference column, or null.
const XPivotOtherRowRefColumn* FindBound( const XPivotColumn* inColumn )
{
    const auto* references = dynamic_cast<const XPivotOtherRowRefColumn*>( inColumn );
    return references && references->GetRowRefColumn() ? references : nullptr;
}

/// The table's own column, to be changed.
XPivotRowRefColumn& FindInTable( XPivotTable& ioTable, const XPivotRowRefColumn& inColumn )
{
    std::uint32_t index = 0;
    while ( &ioTable.GetColumn( index ) != &inColumn )
        ++index;
    return static_cast<XPivotRowRefColumn&>( ioTable.GetColumn( index ) );
}
} // namespace

XPivotTableReferences::XPivotTableReferences( XPivotTable& ioTable )
{
    for ( std::uint32_t i = 0; i < ioTable.GetNumColumns(); ++i )
    {
        if ( const auto* references = FindBound( &ioTable.GetColumn( i ) ) )
            GetTarget( ioTable, *references->GetRowRefColumn() ).references.push_back( references );
    }
    for ( XTarget& target : itsTargets )
        HoldObjects( target );
}

XPivotTableReferences::~XPivotTableReferences()
{
    for ( const XTarget& target : itsTargets )
    {
        for ( const XObject& object : target.objects )
            target.column->RemoveOthers( object.place, 1 );
    }
}

XPivotTableReferences::XTarget&
XPivotTableReferences::GetTarget( XPivotTable& ioTable, const XPivotRowRefColumn& inColumn )
{
    const auto found = std::ranges::find( itsTargets, &inColumn, &XTarget::column );
    return found != itsTargets.end() ? *found : itsTargets.emplace_back( &FindInTable( ioTable, inColumn ) );
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

/// Adds a reference to each, so that none is forgotten while rows change.
void XPivotTableReferences::HoldObjects( XTarget& ioTarget )
{
    const XVector<std::uint8_t> isReferredTo = FindReferredTo( ioTarget );
    ioTarget.objects.reserve( isReferredTo.size() );
    for ( std::uint32_t place = 0; place < isReferredTo.size(); ++place )
    {
        if ( !isReferredTo[place] )
            continue;
        ioTarget.column->AddOther( place );
        ioTarget.objects.push_back( { place, ioTarget.column->itsRefs[place].rows > 0 } );
    }
}

void XPivotTableReferences::Settle()
{
    for ( XTarget& target : itsTargets )
    {
        const XVector<std::uint8_t> isReferredTo = FindReferredTo( target );
        for ( const auto& [place, hadRow] : target.objects )
        {
            const bool hasRow = target.column->itsRefs[place].rows > 0;
            const std::uint32_t held = hadRow ? 1 : 2;
            target.column->RemoveOthers( place, held - ( isReferredTo[place] && !hasRow ? 1 : 0 ) );
        }
        target.objects.clear();
    }
}

void XKnowAppendedObjects( XPivotTable& ioTable, const XPivotTable& inAppended, std::uint32_t inFirstRow )
{
    for ( std::uint32_t i = 0; i < ioTable.GetNumColumns(); ++i )
    {
        const auto* references = FindBound( &ioTable.GetColumn( i ) );
        const auto* appended =
            references ? FindBound( inAppended.FindColumn( references->GetDescriptor() ) ) : nullptr;
        if ( !appended )
            continue;
        auto& objects = FindInTable( ioTable, *references->GetRowRefColumn() );
        for ( std::uint32_t row = inFirstRow; row < references->GetColumnSize(); ++row )
        {
            const XUUID& uuid = references->GetDataUUID( row );
            if ( objects.GetDataUserVisibleID( uuid ) == 0 &&
                 appended->GetRowRefColumn()->GetDataUserVisibleID( uuid ) != 0 )
                objects.AddRef( uuid );
        }
    }
}
