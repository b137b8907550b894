#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotColumnT.h"

/// A column of points in time or durations; missing rows read as the time 0. As a number, a time is its count
/// of microseconds. Texts are parsed like those of XTime; for any other text, setting a present row throws
/// 1007, and a missing row gets the default value. Shown as date and time.
class KORVALE_API XPivotTimeColumn
    : public XPivotColumnClassT<XPivotTimeColumn, XPivotColumnT<XTime>, kClassPivotTimeColumn>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;

    using XPivotColumnT::SetData;
    void SetData( double inValue, std::int32_t inRow, bool inExists ) override;
    void SetData( const XString& inValue, std::int32_t inRow, bool inExists ) override;

    bool IsNumeric() const override { return true; }
    bool IsFilterable() const override { return false; }
    double GetDataFloat( std::uint32_t inRow ) const override;
    XString GetDataString( std::uint32_t inRow ) const override;
    std::int32_t FindDataFloat( double inValue ) const override;
    XFloatBlock GetFloatBlock(
        std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const override;

protected:
    using XPivotColumnT::DoesPass;
    bool DoesPass(
        std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const override;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference )
        const override;
};
