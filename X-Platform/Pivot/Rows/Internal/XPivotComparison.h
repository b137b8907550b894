#pragma once

#include "Ground/XFail.h"
#include "Pivot/Rows/XPivotTableTypes.h"

#include <functional>

/// Calls `inUse` with the comparison that a relationship stands for: std::less<>() or one of its kin. Returns
/// what that returns. kFilterContains, which is for texts, and numbers above 6 are an internal error.
/// Internal.
template<class TUse>
auto XWithPivotComparison( XPivotFilterRelationship inRelationship, TUse inUse )
{
    switch ( inRelationship )
    {
    case kFilterNotEqual:
        return inUse( std::not_equal_to<>() );
    case kFilterEqual:
        return inUse( std::equal_to<>() );
    case kFilterLess:
        return inUse( std::less<>() );
    case kFilterGreater:
        return inUse( std::greater<>() );
    case kFilterLessOrEqual:
        return inUse( std::less_equal<>() );
    case kFilterGreaterOrEqual:
        return inUse( std::greater_equal<>() );
    default:
        XAssert( false );
    }
}

/// True when the value is related to the reference in that way.
template<class T>
bool XComparePivotValues( const T& inValue, XPivotFilterRelationship inRelationship, const T& inReference )
{
    return XWithPivotComparison(
        inRelationship, [&]( auto inCompares ) { return inCompares( inValue, inReference ); } );
}
