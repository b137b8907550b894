#include "Core/Strings/XString.h"

#include "Core/Strings/Internal/XNaturalOrder.h"
#include "Core/Strings/Internal/XTextScan.h"
#include "System/WLocale.h"

#include <algorithm>
#include <cstring>

namespace
{
bool HasNul( std::string_view inText )
{
    return std::memchr( inText.data(), '\0', inText.size() ) != nullptr;
}
} // namespace

SSize64 XString::Find( const XString& inNeedle, bool inCaseSensitive, USize64 inStart ) const
{
    if ( inStart >= GetLength() || inNeedle.IsEmpty() || inNeedle.GetLength() > GetLength() )
        return kNotFound;
    const std::string_view text = GetStringView().substr( inStart );
    const SSize64 found = inCaseSensitive ? XTextScan::Find( text, inNeedle.GetStringView() )
                                          : XTextScan::FindCaseless( text, inNeedle.GetStringView() );
    // The text ends at its first NUL. Only the searched part is checked for one, so that a loop over all
    // occurrences stays linear.
    if ( found == kNotFound ||
         HasNul( text.substr( 0, static_cast<USize64>( found ) + inNeedle.GetLength() ) ) )
        return kNotFound;
    return static_cast<SSize64>( inStart ) + found;
}

SSize64 XString::FindReverse( const XString& inNeedle, bool inCaseSensitive, USize64 inStart ) const
{
    const USize64 needleLength = inNeedle.GetLength();
    if ( needleLength == 0 || needleLength > GetLength() )
        return kNotFound;
    const USize64 last = std::min( inStart, GetLength() - needleLength );
    if ( inCaseSensitive )
        return static_cast<SSize64>( GetStringView().rfind( inNeedle.GetStringView(), last ) );
    const char* const text = GetConstCharPtr();
    for ( USize64 i = last + 1; i-- > 0; )
        if ( XTextScan::EqualCaseless( text + i, inNeedle.GetConstCharPtr(), needleLength ) )
            return static_cast<SSize64>( i );
    return kNotFound;
}

bool XString::Contains( const XString& inText ) const
{
    return Find( inText ) != kNotFound;
}

bool XString::StartsWith( const XString& inText ) const
{
    return !inText.IsEmpty() && GetStringView().starts_with( inText.GetStringView() );
}

bool XString::CaselessStartsWith( const XString& inText ) const
{
    const USize64 length = inText.GetLength();
    return length != 0 && length <= GetLength() &&
        XTextScan::EqualCaseless( GetConstCharPtr(), inText.GetConstCharPtr(), length );
}

bool XString::EndsWith( const XString& inText ) const
{
    return Find( inText, GetLength() != inText.GetLength() ) != kNotFound;
}

bool XString::CaselessEndsWith( const XString& inText ) const
{
    const USize64 start = GetLength() - inText.GetLength(); // beyond any end for a longer text
    return Find( inText, false, start ) != kNotFound;
}

bool XString::CaselessEqual( const XString& inOther ) const noexcept
{
    const USize64 length = GetLength();
    return length == inOther.GetLength() &&
        XTextScan::EqualCaseless( GetConstCharPtr(), inOther.GetConstCharPtr(), length );
}

bool XString::IsNumeric() const
{
    const char point = WLocale::GetDecimalPoint();
    const auto isNumeric = [point]( char inCharacter )
    {
        return XTextScan::IsDigit( inCharacter ) || inCharacter == '-' || inCharacter == point ||
            inCharacter == 'e' || inCharacter == 'E' || inCharacter == ' ';
    };
    return !IsEmpty() && std::ranges::all_of( GetStringView(), isNumeric );
}

bool XString::IsNaturallyLess( std::string_view inFirst, std::string_view inSecond )
{
    return XNaturalOrder( false, false ).IsLess( inFirst, inSecond );
}

bool XString::IsLessThanIgnoring(
    const XString& inOther, bool inIgnoreDecimalPoint, bool inIgnoreMinusSign ) const
{
    const XNaturalOrder order( inIgnoreDecimalPoint, inIgnoreMinusSign );
    return order.IsLess( GetStringView(), inOther.GetStringView() );
}
