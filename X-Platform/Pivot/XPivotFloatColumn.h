#pragma once

#include "Pivot/XPivotColumnT.h"

/// Numbers. A missing one is NaN. Text is taken by the number at its start (1000 when there is none, unless
/// the value is given as missing: then it is the default value).
class KORVALE_API XPivotFloatColumn : public XPivotColumnT<double>
{
public:
    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotFloatColumn ); }
    static constexpr XVersion GetSuperClassVersion() { return XPivotColumn::GetClassVersion(); }

    XPivotFloatColumn();
    XPivotFloatColumn(
        XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName,
        const XString& inUnits, std::uint32_t inRevision = 0 );

    XVersion GetVersion() const override { return GetClassVersion(); }
    XPivotFloatColumn* Clone() const override { return new XPivotFloatColumn( *this ); }
    XPivotFloatColumn* CloneWithoutCopy() const override;

    using XPivotColumnT::SetData;
    void SetData( double inValue, std::int32_t inRow, bool inExists ) override;
    void SetData( const XString& inValue, std::int32_t inRow, bool inExists ) override;

    bool IsNumeric() const override { return true; }
    double GetDataFloat( std::uint32_t inRow ) const override;
    XString GetDataString( std::uint32_t inRow ) const override;
    std::int32_t FindDataFloat( double inValue ) const override;
    XFloatBlock GetFloatBlock(
        std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const override;

protected:
    XVector<std::int32_t>
    Filter( XPivotFilterRelationship inRelationship, double inReference ) const override;
    XVector<std::int32_t>
    Filter( XPivotFilterRelationship inRelationship, const XString& inReference ) const override;
    bool DoesPass(
        std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const override;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference )
        const override;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference )
        const override;
};
