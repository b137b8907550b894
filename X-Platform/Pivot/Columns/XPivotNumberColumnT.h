#pragma once

#include "Pivot/Columns/XPivotColumnT.h"

#include <type_traits>

/// A column of numbers of one type: double or a 32-bit integer.
///
/// Numbers that the type cannot represent are truncated towards zero and clamped to its range, and NaN
/// becomes the default value. The same holds for the references of filters, except that a NaN reference stays
/// NaN and so equals nothing. A text is converted to the number at its start; without one, setting a present
/// row throws 1000, and a missing row gets the default value.
template<class T>
class KORVALE_API XPivotNumberColumnT : public XPivotColumnT<T>
{
    static_assert(
        std::is_same_v<T, double> || std::is_same_v<T, std::int32_t> || std::is_same_v<T, std::uint32_t>,
        "number columns hold double, std::int32_t or std::uint32_t" );

public:
    using XPivotColumnT<T>::SetData;
    void SetData( double inValue, std::int32_t inRow, bool inExists ) override;
    void SetData( const XString& inValue, std::int32_t inRow, bool inExists ) override;

    bool IsNumeric() const override;
    double GetDataFloat( std::uint32_t inRow ) const override;
    XString GetDataString( std::uint32_t inRow ) const override;
    std::int32_t FindDataFloat( double inValue ) const override;
    XPivotColumn::XFloatBlock GetFloatBlock(
        std::uint32_t inFirstRow, std::uint32_t inMaxCount, XVector<double>& ioScratch ) const override;

protected:
    using XPivotColumnT<T>::XPivotColumnT;

    XVector<std::int32_t>
    Filter( XPivotFilterRelationship inRelationship, double inReference ) const override;
    XVector<std::int32_t>
    Filter( XPivotFilterRelationship inRelationship, const XString& inReference ) const override;
    using XPivotColumnT<T>::DoesPass;
    bool DoesPass(
        std::uint32_t inRow, XPivotFilterRelationship inRelationship, double inReference ) const override;
    bool DoesPass( std::uint32_t inRow, XPivotFilterRelationship inRelationship, const XString& inReference )
        const override;
};

KORVALE_EXTERN_TEMPLATE( class KORVALE_API XPivotNumberColumnT<double> );
KORVALE_EXTERN_TEMPLATE( class KORVALE_API XPivotNumberColumnT<std::int32_t> );
KORVALE_EXTERN_TEMPLATE( class KORVALE_API XPivotNumberColumnT<std::uint32_t> );
