#include "Pivot/Tables/XPivotTable.h"

#include "Ground/XErrorNumbers.h"
#include "Pivot/Columns/Internal/XPivotNumberTexts.h"
#include "Pivot/Columns/XPivotStringColumn.h"

#include <algorithm>
#include <functional>

namespace
{
XPivotColumnDescriptor DescribeBuckets( const XPivotColumn& inColumn )
{
    const XPivotColumnDescriptor& descriptor = inColumn.GetDescriptor();
    const XPivotColumnDescriptor name( descriptor.GetID(), descriptor.GetColumnName(), "", "" );
    return XPivotColumnDescriptor(
        kPivotUserDefined, name.GetDisplayName() + " Group", descriptor.GetChannelName(), "" );
}

bool AreAscending( const XVector<double>& inLimits )
{
    const auto isNotLess = []( double inLeft, double inRight ) { return !( inLeft < inRight ); };
    return std::ranges::adjacent_find( inLimits, isNotLess ) == inLimits.end();
}

XVector<XString> MakeBucketNames( const XVector<double>& inLimits )
{
    const XVector<XString> limits = XFormatDistinctNumbers( inLimits );
    XVector<XString> names;
    for ( std::size_t i = 0; i + 1 < limits.size(); ++i )
        names.push_back( limits[i] + " to " + limits[i + 1] );
    return names;
}

/// The bucket of a number, or the number of buckets when it is in none.
std::size_t FindBucket( const XVector<double>& inLimits, double inNumber )
{
    const std::size_t none = inLimits.size() - 1;
    // The last bucket includes its upper limit, the others do not.
    if ( inNumber == inLimits.back() )
        return none - 1;
    if ( !( inNumber >= inLimits.front() && inNumber < inLimits.back() ) )
        return none;
    return static_cast<std::size_t>( std::ranges::upper_bound( inLimits, inNumber ) - inLimits.begin() ) - 1;
}
} // namespace

XPivotStringColumn* XPivotTable::FindBuckets( std::uint32_t inColumn )
{
    return dynamic_cast<XPivotStringColumn*>( FindColumn( DescribeBuckets( GetColumn( inColumn ) ) ) );
}

XPivotStringColumn& XPivotTable::AddBuckets( std::uint32_t inColumn )
{
    const XPivotColumnDescriptor descriptor = DescribeBuckets( GetColumn( inColumn ) );
    auto buckets = std::make_unique<XPivotStringColumn>(
        kPivotUserDefined, descriptor.GetColumnName(), descriptor.GetChannelName(), XString() );
    buckets->ResizeRows( GetNumRows() );
    return AddColumn( std::move( buckets ) );
}

XPivotStringColumn& XPivotTable::BucketsGather( std::uint32_t inColumn, const XVector<double>& inLimits )
{
    if ( inLimits.size() < 2 || !AreAscending( inLimits ) )
        XThrow( kErrorBadParameters );
    XPivotStringColumn* found = FindBuckets( inColumn );
    XPivotStringColumn& buckets = found ? *found : AddBuckets( inColumn );
    const XPivotColumn& column = GetColumn( inColumn );
    const XVector<XString> names = MakeBucketNames( inLimits );
    for ( std::uint32_t row = 0; row < GetNumRows(); ++row )
    {
        const bool exists = column.IsNumeric() && column.DoesDataExist( row );
        const std::size_t bucket = exists ? FindBucket( inLimits, column.GetDataFloat( row ) ) : names.size();
        const bool isIn = bucket < names.size();
        buckets.SetValue( isIn ? names[bucket] : XString(), static_cast<std::int32_t>( row ), isIn );
    }
    return buckets;
}

XPivotStringColumn&
XPivotTable::BucketsGather( std::uint32_t inColumn, const XVector<XString>& inTexts, const XString& inBucket )
{
    XPivotStringColumn* found = FindBuckets( inColumn );
    XPivotStringColumn& buckets = found ? *found : AddBuckets( inColumn );
    const XPivotColumn& column = GetColumn( inColumn );
    XVector<XString> texts = inTexts;
    std::ranges::sort( texts, std::less<XString>() );
    for ( std::uint32_t row = 0; row < GetNumRows(); ++row )
    {
        if ( !column.DoesDataExist( row ) )
            continue;
        const XString text = column.GetDataString( row );
        if ( std::ranges::binary_search( texts, text, std::less<XString>() ) )
            buckets.SetValue( inBucket, static_cast<std::int32_t>( row ), true );
        // The first gathering copies the other texts; later ones leave them as they were gathered.
        else if ( !found )
            buckets.SetValue( text, static_cast<std::int32_t>( row ), true );
    }
    return buckets;
}

std::uint32_t
XPivotTable::BucketRename( std::uint32_t inColumn, const XString& inOldName, const XString& inNewName )
{
    XPivotStringColumn* buckets = FindBuckets( inColumn );
    std::uint32_t count = 0;
    for ( std::uint32_t row = 0; buckets && row < GetNumRows(); ++row )
    {
        if ( !buckets->DoesDataExist( row ) || buckets->GetValue( row ) != inOldName )
            continue;
        buckets->SetValue( inNewName, static_cast<std::int32_t>( row ), true );
        ++count;
    }
    return count;
}
