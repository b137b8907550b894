#include "Pivot/Columns/Internal/XPivotNormalise.h"
#include "Pivot/Columns/XPivotFloatColumn.h"
#include "Pivot/Tables/Internal/XPivotTableGroups.h"
#include "Pivot/Tables/XPivotTable.h"

#include <cmath>
#include <limits>

namespace
{
/// True for a column whose numbers are measurements, and so can be related to others.
bool HasMeasurements( const XPivotColumn& inColumn )
{
    const std::uint32_t classID = inColumn.GetVersion().GetClassID();
    return classID == kClassPivotFloatColumn || classID == kClassPivotUInt32Column ||
        classID == kClassPivotSInt32Column;
}

/// The column as one of floating-point numbers, under the same name.
std::unique_ptr<XPivotFloatColumn> MakeFloatColumn( const XPivotColumn& inColumn )
{
    auto column = std::make_unique<XPivotFloatColumn>();
    column->CopySettings( inColumn );
    *column += inColumn;
    return column;
}

void SetUnits( XPivotTableControlRelationship inRelationship, XPivotColumn& ioColumn )
{
    if ( inRelationship == kControlPercent || inRelationship == kControlPercentDifference )
        ioColumn.SetUnits( "%" );
    else if ( inRelationship != kControlDifference )
        ioColumn.SetUnits( XString() );
}

/// The mean of the control rows of each group; NaN for a group without any.
XVector<double> FindReferences(
    const XPivotColumn& inColumn, const XVector<std::uint32_t>& inControlRows,
    const XPivotTableGroups& inGroups )
{
    XVector<double> sums( inGroups.GetCount() );
    XVector<double> counts( inGroups.GetCount() );
    for ( const std::uint32_t row : inControlRows )
    {
        XAssert( row < inGroups.groups.size() );
        const double value = inColumn.GetDataFloat( row );
        if ( !inColumn.DoesDataExist( row ) || std::isnan( value ) )
            continue;
        sums[inGroups.groups[row]] += value;
        counts[inGroups.groups[row]] += 1.0;
    }
    for ( std::size_t group = 0; group < sums.size(); ++group )
        sums[group] /= counts[group]; // 0 / 0 where there is no control
    return sums;
}
} // namespace

void XPivotTable::NormaliseTo(
    std::uint32_t inColumn, double inReference, XPivotTableControlRelationship inRelationship )
{
    if ( !HasMeasurements( GetColumn( inColumn ) ) )
        return;
    auto normalised = MakeFloatColumn( GetColumn( inColumn ) );
    normalised->NormaliseTo( inReference, inRelationship );
    SetUnits( inRelationship, *normalised );
    ReplaceColumn( inColumn, std::move( normalised ) );
}

void XPivotTable::NormaliseToControls(
    std::uint32_t inColumn, const XVector<std::uint32_t>& inControlRows,
    XPivotTableControlRelationship inRelationship, const XColumnIndices& inGroupKeys )
{
    const XPivotColumn& column = GetColumn( inColumn );
    if ( !HasMeasurements( column ) )
        return;
    const XPivotTableGroups groups = XGroupPivotTableRows( ListColumns( inGroupKeys ), GetNumRows() );
    const XVector<double> references = FindReferences( column, inControlRows, groups );
    auto normalised = MakeFloatColumn( column );
    for ( std::uint32_t row = 0; row < groups.groups.size(); ++row )
    {
        const double value = XNormalisePivotNumber(
            normalised->GetDataFloat( row ), references[groups.groups[row]], inRelationship );
        const bool exists = normalised->DoesDataExist( row ) && !std::isnan( value );
        normalised->SetValue(
            exists ? value : normalised->GetDefaultValue(), static_cast<std::int32_t>( row ), exists );
    }
    SetUnits( inRelationship, *normalised );
    ReplaceColumn( inColumn, std::move( normalised ) );
}
