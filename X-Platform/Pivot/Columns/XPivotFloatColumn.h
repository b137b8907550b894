#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotNumberColumnT.h"

/// Numbers; NaN where missing.
class KORVALE_API XPivotFloatColumn
    : public XPivotColumnClassT<XPivotFloatColumn, XPivotNumberColumnT<double>, kClassPivotFloatColumn>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;
};
