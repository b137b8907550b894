#pragma once

#include "Pivot/Rows/XPivotTableTypes.h"

/// A value in relation to the control's value. A relationship above 4 is an internal error. Internal.
double
XNormalisePivotNumber( double inValue, double inReference, XPivotTableControlRelationship inRelationship );
