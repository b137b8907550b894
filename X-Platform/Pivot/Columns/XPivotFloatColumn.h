#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotNumberColumnT.h"

/// A column of doubles; missing rows read as NaN.
class KORVALE_API XPivotFloatColumn
    : public XPivotColumnClassT<XPivotFloatColumn, XPivotNumberColumnT<double>, kClassPivotFloatColumn>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;
};
