#pragma once

#include "Pivot/XPivotColumnT.h"

/// Signed 32-bit integers; 0 where missing. Other numbers are cut off towards zero and held within the range,
/// NaN becomes the default value, both as values and as references of filters; text is taken by the number at
/// its start, as in XPivotFloatColumn. A reference that is NaN is unequal to everything.
class KORVALE_API XPivotSInt32Column : public XPivotColumnT<std::int32_t>
{
public:
    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotSInt32Column ); }
    static constexpr XVersion GetSuperClassVersion() { return XPivotColumn::GetClassVersion(); }

    XPivotSInt32Column();
    XPivotSInt32Column(
        XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName,
        const XString& inUnits, std::uint32_t inRevision = 0 );

    XVersion GetVersion() const override { return GetClassVersion(); }
    XPivotSInt32Column* Clone() const override { return new XPivotSInt32Column( *this ); }
    XPivotSInt32Column* CloneWithoutCopy() const override;

    using XPivotColumn::AppendData;
    using XPivotColumnT::SetData;
    void SetData( std::int32_t inValue, std::int32_t inRow, bool inExists )
    {
        SetValue( inValue, inRow, inExists );
    }
    void AppendData( std::int32_t inValue, bool inExists ) { AppendValue( inValue, inExists ); }
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
