#pragma once

#include "Core/Strings/XString.h"
#include "Pivot/Rows/XPivotTableTypes.h"

#include <variant>

/// A condition on the rows of a table: comparisons of columns with references, combined by "and" and "or" to
/// any depth. `XPivotTable::FindRows` and `XPivotTable::FilterRows` evaluate it.
///
///     const XPivotTableFilter isLarge( area, kFilterGreater, 50.0 );
///     const XPivotTableFilter isControl( name, kFilterContains, XString( "control" ) );
///     const XPivotTableFilter isFirst( time, kFilterEqual, 0.0 );
///     const auto isOfUse = XPivotTableFilter::AnyOf( { isControl, isFirst } );
///     table.FilterRows( XPivotTableFilter::AllOf( { isLarge, isOfUse } ) );
///
/// A plain value. A missing row passes no comparison, not even kFilterNotEqual.
class KORVALE_API XPivotTableFilter
{
public:
    using XReference = std::variant<double, XString>;

    enum XKind
    {
        kComparison,
        kAllOf,
        kAnyOf
    };

    /// The column's value, compared with the reference as the column's class does it.
    XPivotTableFilter( std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference );
    XPivotTableFilter(
        std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference );

    /// Every row that passes all parts; without parts every row of the table.
    static XPivotTableFilter AllOf( XVector<XPivotTableFilter> inParts );
    /// Every row that passes at least one part; without parts none.
    static XPivotTableFilter AnyOf( XVector<XPivotTableFilter> inParts );

    XKind GetKind() const { return itsKind; }
    /// Of a comparison.
    std::uint32_t GetColumn() const { return itsColumn; }
    XPivotFilterRelationship GetRelationship() const { return itsRelationship; }
    const XReference& GetReference() const { return itsReference; }
    /// Of the other kinds.
    const XVector<XPivotTableFilter>& GetParts() const { return itsParts; }

private:
    XPivotTableFilter( XKind inKind, XVector<XPivotTableFilter>&& inParts );

    XKind itsKind = kComparison;
    std::uint32_t itsColumn = 0;
    XPivotFilterRelationship itsRelationship = kFilterEqual;
    XReference itsReference;
    XVector<XPivotTableFilter> itsParts;
};
