#include "Pivot/Columns/XPivotVersionColumn.h"

#include "Core/Streams/XClassRegistry.h"
#include "Pivot/Columns/Internal/XPivotConversions.h"

#include <limits>
#include <mutex>

namespace
{
/// The text of the version that was asked for last, for the whole process: columns ask for the same one row
/// after row.
class XVersionTextCache
{
public:
    XString GetText( const XVersion& inVersion )
    {
        const std::lock_guard lock( itsMutex );
        if ( !itsHasText || itsVersion.GetClassID() != inVersion.GetClassID() )
        {
            itsText = MakeText( inVersion );
            itsVersion = inVersion;
            itsHasText = true;
        }
        return itsText;
    }

private:
    static XString MakeText( const XVersion& inVersion )
    {
        XString text = XClassRegistry::GetClassDescription( inVersion );
        if ( text.IsEmpty() )
        {
            text = "<Unknown object type %1>";
            text.Replace( "%1", XString( inVersion.GetClassID() ) );
        }
        return text;
    }

    std::mutex itsMutex; // guards the rest
    XVersion itsVersion;
    XString itsText;
    bool itsHasText = false;
};

XVersionTextCache sTextCache;
} // namespace

double XPivotVersionColumn::GetDataFloat( std::uint32_t ) const
{
    return std::numeric_limits<double>::quiet_NaN();
}

XString XPivotVersionColumn::GetDataString( std::uint32_t inRow ) const
{
    return sTextCache.GetText( GetValue( inRow ) );
}

std::int32_t XPivotVersionColumn::FindDataFloat( double ) const
{
    return -1;
}

bool XPivotVersionColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const
{
    return DoesPassCompare(
        std::uint32_t( GetValue( inRow ) ), inRelationship, XToPivotReference<std::uint32_t>( inReference ) );
}

bool XPivotVersionColumn::DoesPass(
    std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference ) const
{
    return DoesPassCompare( GetDataString( inRow ), inRelationship, inReference );
}
