#pragma once

#include "Pivot/Columns/XPivotColumn.h"

/// What the classes of columns that can be made declare alike: class version, constructors and copies.
/// `TColumn` is the class, `TBase` what it derives from besides.
template<class TColumn, class TBase, XClassNumber kClassNumber>
class XPivotColumnClassT : public TBase
{
public:
    static constexpr XVersion GetClassVersion() { return XVersion( kClassNumber ); }
    static constexpr XVersion GetSuperClassVersion() { return XPivotColumn::GetClassVersion(); }

    XPivotColumnClassT() = default;
    /// A name is given for `kPivotUserDefined` only (internal error otherwise). Throws 3209.
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
