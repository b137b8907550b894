#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotNumberColumnT.h"

/// Signed 32-bit integers; 0 where missing.
class KORVALE_API XPivotSInt32Column
    : public XPivotColumnClassT<
          XPivotSInt32Column, XPivotNumberColumnT<std::int32_t>, kClassPivotSInt32Column>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;
};
