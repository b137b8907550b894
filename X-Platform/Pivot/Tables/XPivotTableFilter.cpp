#include "Pivot/Tables/XPivotTableFilter.h"

#include <utility>

XPivotTableFilter::XPivotTableFilter(
    std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference )
    : itsColumn( inColumn ), itsRelationship( inRelationship ), itsReference( inReference )
{
}

XPivotTableFilter::XPivotTableFilter(
    std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference )
    : itsColumn( inColumn ), itsRelationship( inRelationship ), itsReference( inReference )
{
}

XPivotTableFilter::XPivotTableFilter( XKind inKind, XVector<XPivotTableFilter>&& inParts )
    : itsKind( inKind ), itsParts( std::move( inParts ) )
{
}

XPivotTableFilter XPivotTableFilter::AllOf( XVector<XPivotTableFilter> inParts )
{
    return XPivotTableFilter( kAllOf, std::move( inParts ) );
}

XPivotTableFilter XPivotTableFilter::AnyOf( XVector<XPivotTableFilter> inParts )
{
    return XPivotTableFilter( kAnyOf, std::move( inParts ) );
}
