#include "Pivot/Columns/Internal/XPivotNormalise.h"

#include "Ground/XFail.h"

#include <cmath>

double
XNormalisePivotNumber( double inValue, double inReference, XPivotTableControlRelationship inRelationship )
{
    switch ( inRelationship )
    {
    case kControlRatio:
        return inValue / inReference;
    case kControlPercent:
        return 100.0 * inValue / inReference;
    case kControlDifference:
        return inValue - inReference;
    case kControlPercentDifference:
        return 100.0 * ( inValue - inReference ) / inReference;
    case kControlLogRatio:
        return std::log2( inValue / inReference );
    }
    XAssert( false );
}
