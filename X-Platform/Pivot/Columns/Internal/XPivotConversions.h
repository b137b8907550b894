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

/// What columns make of numbers and texts. Internal.

/// The text of a number, as columns show it.
inline XString XFormatPivotNumber( double inNumber )
{
    return XString( inNumber, XString::kFloatAuto, 1 );
}

/// The number at the start of the text, 0 for an empty one, as `XString::GetSFloat64` has it; nothing where
/// that throws.
inline std::optional<double> XFindPivotNumber( const XString& inText )
{
    if ( inText.IsEmpty() )
        return 0.0;
    return XNumberReader::ReadFloat( inText.GetStringView(), WLocale::GetDecimalPoint() );
}

/// The number at the start of a text given as a row's value. Where there is none, a present row throws 1000
/// and a missing one takes `inDefault`.
inline double XReadPivotNumber( const XString& inText, bool inExists, double inDefault )
{
    const std::optional<double> number = XFindPivotNumber( inText );
    if ( !number && inExists )
        XThrow( kErrorNotANumber );
    return number.value_or( inDefault );
}

/// What `inRead` makes of a text given as a row's value. Where it refuses it with error `inRefusal`, a
/// missing row takes `inDefault`.
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

/// A number as a column of `T` keeps it. Integers are cut off towards zero and held within their range, NaN
/// becomes `inNaN`.
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

/// A filter's reference as a column of `T` would keep it, but that NaN stays NaN, which is equal to nothing.
/// Doubles hold every 32-bit integer.
template<class T>
double XToPivotReference( double inReference )
{
    return std::isnan( inReference ) ? inReference : XToPivotNumber<T>( inReference, 0 );
}
