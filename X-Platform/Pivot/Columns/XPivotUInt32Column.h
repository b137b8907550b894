#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotNumberColumnT.h"

/// A column of unsigned 32-bit integers; missing rows read as 0.
class KORVALE_API XPivotUInt32Column
    : public XPivotColumnClassT<
          XPivotUInt32Column, XPivotNumberColumnT<std::uint32_t>, kClassPivotUInt32Column>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;
};
