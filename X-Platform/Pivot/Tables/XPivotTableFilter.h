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

    /// Compares the column's value with the reference, in the way of the column's class.
    XPivotTableFilter( std::uint32_t inColumn, XPivotFilterRelationship inRelationship, double inReference );
    XPivotTableFilter(
        std::uint32_t inColumn, XPivotFilterRelationship inRelationship, const XString& inReference );

    /// Rows that pass all parts; without parts, every row of the table.
    static XPivotTableFilter AllOf( XVector<XPivotTableFilter> inParts );
    /// Rows that pass at least one part; without parts, no row.
    static XPivotTableFilter AnyOf( XVector<XPivotTableFilter> inParts );

    XKind GetKind() const { return itsKind; }
    /// For comparisons only.
    std::uint32_t GetColumn() const { return itsColumn; }
    XPivotFilterRelationship GetRelationship() const { return itsRelationship; }
    const XReference& GetReference() const { return itsReference; }
    /// For kAllOf and kAnyOf only.
    const XVector<XPivotTableFilter>& GetParts() const { return itsParts; }

private:
    XPivotTableFilter( XKind inKind, XVector<XPivotTableFilter>&& inParts );

    XKind itsKind = kComparison;
    std::uint32_t itsColumn = 0;
    XPivotFilterRelationship itsRelationship = kFilterEqual;
    XReference itsReference;
    XVector<XPivotTableFilter> itsParts;
};
