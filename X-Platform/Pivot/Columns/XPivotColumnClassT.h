#pragma once

#include "Pivot/Columns/XPivotColumn.h"

/// Members common to all concrete column classes: class version, constructors and copying. `TColumn` is the
/// concrete class, `TBase` its other base class.
template<class TColumn, class TBase, XClassNumber kClassNumber>
class XPivotColumnClassT : public TBase
{
public:
    static constexpr XVersion GetClassVersion() { return XVersion( kClassNumber ); }
    static constexpr XVersion GetSuperClassVersion() { return XPivotColumn::GetClassVersion(); }

    XPivotColumnClassT() = default;
    /// `inColumnName` must be empty except for `kPivotUserDefined` (internal error). Throws 3209.
    XPivotColumnClassT(
        XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName,
        const XString& inUnits, std::uint32_t inRevision = 0 )
        : TBase( inID, inColumnName, inChannelName, inUnits, inRevision )
    {
    }

    XVersion GetVersion() const override { return GetClassVersion(); }
    XPivotColumn* Clone() const override { return new TColumn( static_cast<const TColumn&>( *this ) ); }
    XPivotColumn* CloneWithoutCopy() const override
    {
        TColumn* column = new TColumn();
        column->CopySettings( *this );
        return column;
    }
};
