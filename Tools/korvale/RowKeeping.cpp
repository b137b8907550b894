#include "RowKeeping.h"

#include "Pivot/XPivotOtherRowRefColumn.h"
#include "Pivot/XPivotRowRefColumn.h"

#include <algorithm>

namespace
{
/// The objects without a row among those listed that these rows refer to, each once.
XVector<XUUID>
FindLostObjects( const XPivotOtherRowRefColumn& inReferences, const XVector<std::uint32_t>& inRows )
{
    const auto& objects = *inReferences.GetRowRefColumn();
    XVector<XUUID> lost;
    for ( const auto row : inRows )
    {
        const auto& uuid = inReferences.GetDataUUID( row );
        const auto objectRow = objects.FindDataUUID( uuid );
        if ( objectRow >= 0 &&
             !std::ranges::binary_search( inRows, static_cast<std::uint32_t>( objectRow ) ) )
            lost.push_back( uuid );
    }
    std::sort( lost.begin(), lost.end() );
    lost.erase( std::unique( lost.begin(), lost.end() ), lost.end() );
    return lost;
}

/// The table's column that another one of it refers to.
XPivotRowRefColumn& GetObjects( XPivotTable& ioTable, const XPivotOtherRowRefColumn& inReferences )
{
    XPivotRowRefColumn* objects = nullptr;
    for ( std::uint32_t i = 0; i < ioTable.GetNumColumns() && objects != inReferences.GetRowRefColumn(); ++i )
        objects = dynamic_cast<XPivotRowRefColumn*>( &ioTable.GetColumn( i ) );
    XAssert( objects );
    return *objects;
}
} // namespace

void KeepRows( XPivotTable& ioTable, const XVector<std::uint32_t>& inRows )
{
    for ( std::uint32_t i = 0; i < ioTable.GetNumColumns(); ++i )
    {
        const auto* const references = dynamic_cast<XPivotOtherRowRefColumn*>( &ioTable.GetColumn( i ) );
        if ( !references || !references->GetRowRefColumn() )
            continue;
        auto& objects = GetObjects( ioTable, *references );
        for ( const auto& uuid : FindLostObjects( *references, inRows ) )
            objects.AddRef( uuid );
    }
    ioTable.KeepRows( inRows );
}
