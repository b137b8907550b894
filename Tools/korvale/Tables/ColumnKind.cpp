#include "Tables/ColumnKind.h"

#include "Pivot/Columns/XPivotFloatColumn.h"
#include "Pivot/Columns/XPivotReferenceColumn.h"
#include "Pivot/Columns/XPivotSInt32Column.h"
#include "Pivot/Columns/XPivotTimeColumn.h"
#include "Pivot/Columns/XPivotUInt32Column.h"
#include "Pivot/Columns/XPivotUUIDColumn.h"

namespace
{
template<class TColumn>
bool Is( const XPivotColumn& inColumn )
{
    return dynamic_cast<const TColumn*>( &inColumn ) != nullptr;
}
} // namespace

ColumnKind GetColumnKind( const XPivotColumn& inColumn )
{
    if ( Is<XPivotFloatColumn>( inColumn ) )
        return ColumnKind::kFloat;
    if ( Is<XPivotSInt32Column>( inColumn ) )
        return ColumnKind::kSInt32;
    if ( Is<XPivotUInt32Column>( inColumn ) )
        return ColumnKind::kUInt32;
    if ( Is<XPivotReferenceColumn>( inColumn ) )
        return ColumnKind::kReference;
    if ( Is<XPivotTimeColumn>( inColumn ) )
        return ColumnKind::kTime;
    if ( Is<XPivotUUIDColumn>( inColumn ) )
        return ColumnKind::kIdentifier;
    return inColumn.HasStringRepresentation() ? ColumnKind::kText : ColumnKind::kNothing;
}

bool HoldsNumbers( const XPivotColumn& inColumn )
{
    return GetColumnKind( inColumn ) <= ColumnKind::kReference;
}
