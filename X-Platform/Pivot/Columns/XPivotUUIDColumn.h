#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotColumnT.h"

/// A column of identifiers; missing rows read as the nil identifier. As a number, an identifier is its hash,
/// so numbers cannot be stored and are ignored; numeric references of filters are compared with the hash.
/// Texts are parsed in either form that XUUID reads; for any other text, setting a present row throws 1026,
/// and a missing row gets the default value.
class KORVALE_API XPivotUUIDColumn
    : public XPivotColumnClassT<XPivotUUIDColumn, XPivotColumnT<XUUID>, kClassPivotUUIDColumn>
{
public:
    using XPivotColumnClassT::XPivotColumnClassT;

    using XPivotColumnT::SetData;
    void SetData( const XString& inValue, std::int32_t inRow, bool inExists ) override;

    bool IsNumeric() const override { return true; }
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
