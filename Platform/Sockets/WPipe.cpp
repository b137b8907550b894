#include "Sockets/WPipe.h"

#include <algorithm>

bool WPipe::IsValidName( const std::string& inName )
{
    constexpr USize kMost = 64;
    const auto isAllowed = []( char inCharacter )
    {
        return ( inCharacter >= 'a' && inCharacter <= 'z' ) || ( inCharacter >= 'A' && inCharacter <= 'Z' ) ||
            ( inCharacter >= '0' && inCharacter <= '9' ) || inCharacter == '.' || inCharacter == '_' ||
            inCharacter == '-';
    };
    return !inName.empty() && inName.size() <= kMost && inName.front() != '.' &&
        std::ranges::all_of( inName, isAllowed );
}

WPipe::Outcome WPipe::WaitForMore( USize inCount, const WDeadline& inDeadline )
{
    if ( inCount >= kMostToPeek )
        return { kFailed, 0, kErrorNoBuffers };
    return WConnection::WaitForMore( inCount, inDeadline );
}
