#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotNumberColumnT.h"

/// Unsigned 32-bit integers; 0 where missing.
class KORVALE_API XPivotUInt32Column
    : public XPivotColumnClassT<
          XPivotUInt32Column, XPivotNumberColumnT<std::uint32_t>, kClassPivotUInt32Column>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;
};
