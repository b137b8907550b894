#pragma once

#include "Pivot/XPivotColumnClassT.h"
#include "Pivot/XPivotNumberColumnT.h"

/// Numbers; NaN where missing.
class KORVALE_API XPivotFloatColumn
    : public XPivotColumnClassT<XPivotFloatColumn, XPivotNumberColumnT<double>, kClassPivotFloatColumn>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;
};
