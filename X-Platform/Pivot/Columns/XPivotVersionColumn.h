#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotColumnT.h"

/// A column of class versions, shown as the description of the class; missing rows read as version 0. Their
/// numbers are NaN. Numbers and texts cannot be stored and are ignored.
class KORVALE_API XPivotVersionColumn
    : public XPivotColumnClassT<XPivotVersionColumn, XPivotColumnT<XVersion>, kClassPivotVersionColumn>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;

    bool IsNumeric() const override { return false; }
    double GetDataFloat( std::uint32_t inRow ) const override;
    XString GetDataString( std::uint32_t inRow ) const override;
    std::int32_t FindDataFloat( double inValue ) const override;

protected:
    using XPivotColumnT::DoesPass;
    bool DoesPass(
        std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const override;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference )
        const override;
};
