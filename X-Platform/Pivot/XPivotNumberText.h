#pragma once

#include "Core/XNumberReader.h"
#include "Core/XString.h"

#include "WLocale.h"

/// Numbers out of texts, as columns take them. Internal.

/// The number at the start of the text, 0 for an empty one, as `XString::GetSFloat64` has it; nothing where that
/// throws.
inline std::optional<double> XFindPivotNumber( const XString& inText )
{
    if ( inText.IsEmpty() )
        return 0.0;
    return XNumberReader::ReadFloat( inText.GetStringView(), WLocale::GetDecimalPoint() );
}

/// The number at the start of a text given as a row's value. Where there is none, a present row throws 1000 and a
/// missing one takes `inDefault`.
inline double XReadPivotNumber( const XString& inText, bool inExists, double inDefault )
{
    const std::optional<double> number = XFindPivotNumber( inText );
    if ( !number && inExists )
        XThrow( 1000 );
    return number.value_or( inDefault );
}
