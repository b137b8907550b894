#pragma once

#include "Ground/XFail.h"
#include "Pivot/Rows/XPivotTableTypes.h"

#include <functional>

/// Calls `inUse` with the function object of a relationship, such as std::less<>(), and returns its result.
/// kFilterContains, which applies to texts only, and values above 6 are an internal error. Internal.
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

/// True if the value has that relationship to the reference.
template<class T>
bool XComparePivotValues( const T& inValue, XPivotFilterRelationship inRelationship, const T& inReference )
{
    return XWithPivotComparison(
        inRelationship, [&]( auto inCompares ) { return inCompares( inValue, inReference ); } );
}
