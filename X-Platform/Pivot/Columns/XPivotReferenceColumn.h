#pragma once

#include "Pivot/Columns/XPivotColumnT.h"

/// A column whose rows refer to objects by identifier and show them as small numbers, the user-visible IDs.
/// Numbers, texts, filters and sorting use the user-visible IDs; 0 means no object.
///
/// A text that is stored must be an identifier in either form that XUUID reads; for any other text, setting a
/// present row throws 1026, and a missing row gets the default value. Numbers cannot be stored and are
/// ignored.
class KORVALE_API XPivotReferenceColumn : public XPivotColumnT<XUUID>
{
public:
    /// For pivots, whose rows are not objects: a column of unsigned integers with the user-visible IDs.
    XPivotColumn* CloneForPivot() const override;
    XPivotColumn* CloneWithoutCopyForPivot() const override;

    /// 0 for a missing row and for an identifier that is not known.
    virtual std::uint32_t GetDataUserVisibleID( std::uint32_t inRow ) const = 0;
    XVector<std::uint32_t> GetUserVisibleIDVector() const;

    /// The nil identifier for a missing row.
    const XUUID& GetDataUUID( std::uint32_t inRow ) const { return GetValue( inRow ); }
    /// The identifiers of all rows.
    XVector<XUUID> GetUUIDVector() const;

    using XPivotColumnT::SetData;
    void SetData( const XString& inValue, std::int32_t inRow, bool inExists ) override;

    bool IsNumeric() const override;
    double GetDataFloat( std::uint32_t inRow ) const override;
    XString GetDataString( std::uint32_t inRow ) const override;
    /// The first row with that user-visible ID; -1 if there is none, and for 0.
    std::int32_t FindDataFloat( double inValue ) const override;

    void Sort( XPivotSortDirection inDirection, XVector<std::uint32_t>& outOrder ) override;

protected:
    using XPivotColumnT::XPivotColumnT;

    using XPivotColumnT::DoesPass;
    bool DoesPass(
        std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const override;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference )
        const override;
};
