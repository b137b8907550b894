#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotNumberColumnT.h"

/// A column of signed 32-bit integers; missing rows read as 0.
class KORVALE_API XPivotSInt32Column
    : public XPivotColumnClassT<
          XPivotSInt32Column, XPivotNumberColumnT<std::int32_t>, kClassPivotSInt32Column>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;
};
