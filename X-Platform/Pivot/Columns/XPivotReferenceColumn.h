#pragma once

#include "Pivot/Columns/XPivotColumnT.h"

/// A column whose rows name objects by their identifiers and show them by small numbers, the user-visible
/// IDs. Numbers, texts, filters and the order of sorting are those of the user-visible IDs; 0 stands for no
/// object.
///
/// Text that is stored is an identifier in either form that XUUID reads (1026 for any other, unless the value
/// is given as missing: then it is the default value). Numbers cannot be stored and are ignored.
class KORVALE_API XPivotReferenceColumn : public XPivotColumnT<XUUID>
{
public:
    /// In pivots, whose rows are no objects, the user-visible IDs alone: a column of unsigned integers.
    XPivotColumn* CloneForPivot() const override;
    XPivotColumn* CloneWithoutCopyForPivot() const override;

    /// 0 for a row without a value, and for one that names nothing known.
    virtual std::uint32_t GetDataUserVisibleID( std::uint32_t inRow ) const = 0;
    XVector<std::uint32_t> GetUserVisibleIDVector() const;

    /// All zeros for a row without a value.
    const XUUID& GetDataUUID( std::uint32_t inRow ) const { return GetValue( inRow ); }
    /// The identifiers of all rows.
    XVector<XUUID> GetUUIDVector() const;

    using XPivotColumnT::SetData;
    void SetData( const XString& inValue, std::int32_t inRow, bool inExists ) override;

    bool IsNumeric() const override;
    double GetDataFloat( std::uint32_t inRow ) const override;
    XString GetDataString( std::uint32_t inRow ) const override;
    /// The first row with that user-visible ID, -1 when there is none and for 0.
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
