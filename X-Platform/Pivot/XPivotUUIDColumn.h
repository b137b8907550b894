#pragma once

#include "Pivot/XPivotColumnT.h"

/// Identifiers; all zeros where missing. The number of an identifier is its hash, so numbers cannot be stored
/// and are ignored; references that are numbers are held against the hash. Text is either form that XUUID
/// reads (1026 for any other, unless the value is given as missing: then it is the default value).
class KORVALE_API XPivotUUIDColumn : public XPivotColumnT<XUUID>
{
public:
    static constexpr XVersion GetClassVersion() { return XVersion( kClassPivotUUIDColumn ); }
    static constexpr XVersion GetSuperClassVersion() { return XPivotColumn::GetClassVersion(); }

    XPivotUUIDColumn();
    XPivotUUIDColumn(
        XPivotColumnID inID, const XString& inColumnName, const XString& inChannelName,
        const XString& inUnits, std::uint32_t inRevision = 0 );

    XVersion GetVersion() const override { return GetClassVersion(); }
    XPivotUUIDColumn* Clone() const override { return new XPivotUUIDColumn( *this ); }
    XPivotUUIDColumn* CloneWithoutCopy() const override;

    using XPivotColumn::AppendData;
    using XPivotColumnT::SetData;
    void SetData( const XUUID& inValue, std::int32_t inRow, bool inExists )
    {
        SetValue( inValue, inRow, inExists );
    }
    void AppendData( const XUUID& inValue, bool inExists ) { AppendValue( inValue, inExists ); }
    void SetData( const XString& inValue, std::int32_t inRow, bool inExists ) override;

    bool IsNumeric() const override { return true; }
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
