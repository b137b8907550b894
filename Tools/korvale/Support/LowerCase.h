#pragma once

#include <algorithm>
#include <string>

/// A name in small letters, as far as they are ASCII: names that are equal then differ only in case.
inline std::string LowerCase( std::string inName )
{
    const auto lower = []( char inCharacter )
    {
        return 'A' <= inCharacter && inCharacter <= 'Z' ? static_cast<char>( inCharacter - 'A' + 'a' )
                                                        : inCharacter;
    };
    std::ranges::transform( inName, inName.begin(), lower );
    return inName;
}
