#pragma once

#include "Pivot/XPivotRowFilter.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

/// What the columns of 32-bit integers have in common. Internal.

/// Cut off towards zero and held within the range of `T`; `inNaN` for NaN.
template<class T>
T XToPivotInteger( double inNumber, T inNaN )
{
    if ( std::isnan( inNumber ) )
        return inNaN;
    using XLimits = std::numeric_limits<T>;
    return static_cast<T>( std::clamp<double>( inNumber, XLimits::min(), XLimits::max() ) );
}

/// A reference as the column's type has it, as a number: NaN stays NaN, and so is equal to nothing.
template<class T>
double XToPivotReference( double inReference )
{
    return std::isnan( inReference ) ? inReference : XToPivotInteger<T>( inReference, 0 );
}

template<class T>
std::int32_t XFindPivotInteger( const XVector<T>& inValues, double inNumber )
{
    const T value = XToPivotInteger<T>( inNumber, 0 );
    if ( static_cast<double>( value ) != inNumber )
        return -1;
    const auto found = std::find( inValues.begin(), inValues.end(), value );
    return found == inValues.end() ? -1 : static_cast<std::int32_t>( found - inValues.begin() );
}

/// Fills `outNumbers` with at most `inMaxCount` values from `inFirst` on. Returns how many there are.
template<class T>
std::uint32_t XConvertPivotBlock(
    const XVector<T>& inValues, std::uint32_t inFirst, std::uint32_t inMaxCount, XVector<double>& outNumbers )
{
    if ( inFirst >= inValues.size() )
        return 0;
    const std::size_t count = std::min<std::size_t>( inMaxCount, inValues.size() - inFirst );
    outNumbers.resize( count );
    const T* values = inValues.data() + inFirst;
    for ( std::size_t i = 0; i < count; ++i )
        outNumbers[i] = static_cast<double>( values[i] );
    return static_cast<std::uint32_t>( count );
}

/// Every relationship but kFilterContains; one above 6 is an internal error.
template<class T>
XVector<std::int32_t> XFilterPivotIntegers(
    const XVector<std::uint8_t>& inExists, const XVector<T>& inValues,
    XPivotFilterRelationship inRelationship, double inReference )
{
    const auto collect = [&]( auto inCompares )
    {
        // Doubles hold every 32-bit integer, and NaN besides.
        const double reference = XToPivotReference<T>( inReference );
        return XCollectPivotRows(
            inExists,
            [&]( std::uint32_t inRow )
            { return inCompares( static_cast<double>( inValues[inRow] ), reference ); } );
    };
    switch ( inRelationship )
    {
    case kFilterNotEqual:
        return collect( std::not_equal_to<>() );
    case kFilterEqual:
        return collect( std::equal_to<>() );
    case kFilterLess:
        return collect( std::less<>() );
    case kFilterGreater:
        return collect( std::greater<>() );
    case kFilterLessOrEqual:
        return collect( std::less_equal<>() );
    case kFilterGreaterOrEqual:
        return collect( std::greater_equal<>() );
    default:
        XAssert( false );
    }
}
