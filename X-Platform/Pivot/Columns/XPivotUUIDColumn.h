#pragma once

#include "Pivot/Columns/XPivotColumnClassT.h"
#include "Pivot/Columns/XPivotColumnT.h"

/// Identifiers; all zeros where missing. The number of an identifier is its hash, so numbers cannot be stored
/// and are ignored; references that are numbers are compared with the hash. Text is either form that XUUID
/// reads (1026 for any other, unless the value is given as missing: then it is the default value).
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
