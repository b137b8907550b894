#pragma once

#include "Pivot/Rows/XPivotTableTypes.h"

/// Relates a value to the control's value. A relationship above 4 is an internal error. Internal.
double
XNormalisePivotNumber( double inValue, double inReference, XPivotTableControlRelationship inRelationship );
