#include "Support/NetworkPlace.h"

#include "Core/Strings/XNumberText.h"
#include "Support/InQuotes.h"

#include <algorithm>

std::string NetworkPlace::Check( const std::string& inText )
{
    const auto colon = inText.find( ':' );
    const bool isPlace = colon != 0 && colon != std::string::npos &&
        XParseNumber<std::uint16_t>( std::string_view( inText ).substr( colon + 1 ) );
    const bool isPlain = std::ranges::all_of(
        inText, []( char inCharacter ) { return inCharacter > ' ' && inCharacter < '\x7F'; } );
    return isPlace && isPlain
        ? ""
        : "invalid place " + InQuotes( inText ) + " (expected HOST:PORT, e.g. 127.0.0.1:7610)";
}

NetworkPlace::NetworkPlace( const std::string& inText ) : itsHost( inText.substr( 0, inText.find( ':' ) ) )
{
    itsPort =
        XParseNumber<std::uint16_t>( std::string_view( inText ).substr( itsHost.size() + 1 ) ).value_or( 0 );
}

XNetAddress NetworkPlace::GetAddress( std::int32_t inPort ) const
{
    return itsHost == "0.0.0.0" ? XNetAddress( 0, inPort ) : XNetAddress( XString( itsHost ), inPort );
}

bool NetworkPlace::IsLoopBack() const
{
    constexpr std::uint32_t kLoopBackNetwork = 127;
    XNetAddress address = GetAddress();
    if ( !address.GetHostName( false ).IsEmpty() )
        address.LookupIPAddress();
    return address.GetIPAddress( false ) >> 24 == kLoopBackNetwork;
}

std::string NetworkPlace::GetText( std::int32_t inPort ) const
{
    return itsHost + ':' + std::to_string( inPort );
}
