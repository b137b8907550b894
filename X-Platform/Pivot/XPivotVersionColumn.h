#pragma once

#include "Pivot/XPivotColumnT.h"

/// Class versions, shown as the class's description; version 0 where missing. Its numbers are all NaN.
/// Neither numbers nor texts can be stored: they are ignored.
class KORVALE_API XPivotVersionColumn : public XPivotColumnT<XVersion>
{
public:
    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotVersionColumn ); }
    static constexpr XVersion GetSuperClassVersion() { return XPivotColumn::GetClassVersion(); }

    XPivotVersionColumn();
    XPivotVersionColumn(
        XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName,
        const XString& inUnits, std::uint32_t inRevision = 0 );

    XVersion GetVersion() const override { return GetClassVersion(); }
    XPivotVersionColumn* Clone() const override { return new XPivotVersionColumn( *this ); }
    XPivotVersionColumn* CloneWithoutCopy() const override;

    using XPivotColumn::AppendData;
    using XPivotColumnT::SetData;
    void SetData( const XVersion& inValue, std::int32_t inRow, bool inExists )
    {
        SetValue( inValue, inRow, inExists );
    }
    void AppendData( const XVersion& inValue, bool inExists ) { AppendValue( inValue, inExists ); }

    bool IsNumeric() const override { return false; }
    double GetDataFloat( std::uint32_t inRow ) const override;
    XString GetDataString( std::uint32_t inRow ) const override;
    std::int32_t FindDataFloat( double inValue ) const override;

protected:
    bool DoesPass(
        std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const override;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference )
        const override;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, std::int32_t inReference )
        const override;
};
