#pragma once

#include "Pivot/XPivotColumnT.h"

/// Unsigned 32-bit integers; otherwise as XPivotSInt32Column.
class KORVALE_API XPivotUInt32Column : public XPivotColumnT<std::uint32_t>
{
public:
    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotUInt32Column ); }
    static constexpr XVersion GetSuperClassVersion() { return XPivotColumn::GetClassVersion(); }

    XPivotUInt32Column();
    XPivotUInt32Column(
        XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName,
        const XString& inUnits, std::uint32_t inRevision = 0 );

    XVersion GetVersion() const override { return GetClassVersion(); }
    XPivotUInt32Column* Clone() const override { return new XPivotUInt32Column( *this ); }
    XPivotUInt32Column* CloneWithoutCopy() const override;

    using XPivotColumn::AppendData;
    using XPivotColumnT::SetData;
    void SetData( std::uint32_t inValue, std::int32_t inRow, bool inExists )
    {
        SetValue( inValue, inRow, inExists );
    }
    void AppendData( std::uint32_t inValue, bool inExists ) { AppendValue( inValue, inExists ); }
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
