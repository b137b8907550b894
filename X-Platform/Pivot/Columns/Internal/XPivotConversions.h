#pragma once

#include "Core/Errors/XException.h"
#include "Core/Identifiers/XUUID.h"
#include "Core/Strings/Internal/XNumberReader.h"
#include "Core/Strings/XString.h"
#include "Ground/XErrorNumbers.h"
#include "System/WLocale.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

/// Conversions between the values of columns, numbers and texts. Internal.

/// The text of a number as shown in columns.
inline XString XFormatPivotNumber( double inNumber )
{
    return XString( inNumber, XString::kFloatAuto, 1 );
}

/// The number at the start of the text, as `XString::GetSFloat64` reads it; 0 for an empty text, no value if
/// there is no number.
inline std::optional<double> XFindPivotNumber( const XString& inText )
{
    if ( inText.IsEmpty() )
        return 0.0;
    return XNumberReader::ReadFloat( inText.GetStringView(), WLocale::GetDecimalPoint() );
}

/// The number at the start of a text that is assigned to a row. Without a number, throws 1000 for a present
/// row and returns `inDefault` for a missing one.
inline double XReadPivotNumber( const XString& inText, bool inExists, double inDefault )
{
    const std::optional<double> number = XFindPivotNumber( inText );
    if ( !number && inExists )
        XThrow( kErrorNotANumber );
    return number.value_or( inDefault );
}

/// Returns `inRead()`, the value of a text that is assigned to a row. If it throws the error `inRefusal`, a
/// missing row gets `inDefault` instead.
template<class T, class TRead>
T XReadPivotText( bool inExists, std::uint32_t inRefusal, const T& inDefault, TRead inRead )
{
    try
    {
        return inRead();
    }
    catch ( const XException& exception )
    {
        if ( inExists || exception.GetErrorNumber() != inRefusal )
            throw;
        return inDefault;
    }
}

inline XUUID XReadPivotUUID( const XString& inText, bool inExists, const XUUID& inDefault )
{
    return XReadPivotText( inExists, kErrorUUIDText, inDefault, [&] { return XUUID( inText ); } );
}

/// Converts a number to the value type `T` of a column. For integers, the number is truncated towards zero
/// and clamped to the range; NaN becomes `inNaN`.
template<class T>
T XToPivotNumber( double inNumber, T inNaN )
{
    using XLimits = std::numeric_limits<T>;
    if constexpr ( std::is_floating_point_v<T> )
        return inNumber;
    else
        return std::isnan( inNumber )
            ? inNaN
            : static_cast<T>( std::clamp<double>( inNumber, ( XLimits::min )(), ( XLimits::max )() ) );
}

/// Converts the reference of a filter like a value of a column of `T`, except that NaN stays NaN and so
/// equals nothing. A double represents every 32-bit integer exactly.
template<class T>
double XToPivotReference( double inReference )
{
    return std::isnan( inReference ) ? inReference : XToPivotNumber<T>( inReference, 0 );
}
