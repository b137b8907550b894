#pragma once

#include "Ground/XTypes.h"

#include <string_view>

/// The inner loops of searching and comparing text, with the widest vectors that the processor supports,
/// selected at run time. Case is that of ASCII.
class XTextScan
{
public:
    static constexpr char ToUpper( char inCharacter )
    {
        return inCharacter >= 'a' && inCharacter <= 'z' ? static_cast<char>( inCharacter - 0x20 )
                                                        : inCharacter;
    }

    static constexpr char ToLower( char inCharacter )
    {
        return inCharacter >= 'A' && inCharacter <= 'Z' ? static_cast<char>( inCharacter + 0x20 )
                                                        : inCharacter;
    }

    /// White space as in the C locale.
    static constexpr bool IsSpace( char inCharacter )
    {
        return inCharacter == ' ' || ( inCharacter >= '\t' && inCharacter <= '\r' );
    }

    static constexpr bool IsDigit( char inCharacter ) { return inCharacter >= '0' && inCharacter <= '9'; }

    static constexpr bool IsLetter( char inCharacter )
    {
        return ToUpper( inCharacter ) >= 'A' && ToUpper( inCharacter ) <= 'Z';
    }

    /// The index of the first occurrence of `inNeedle`, which must not be empty, or -1.
    static SSize64 Find( std::string_view inText, std::string_view inNeedle );
    static SSize64 FindCaseless( std::string_view inText, std::string_view inNeedle );

    static bool EqualCaseless( const char* inFirst, const char* inSecond, USize64 inCount );
};
