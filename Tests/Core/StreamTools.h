#pragma once

#include "Core/Errors/XException.h"
#include "Core/Streams/XMemStream.h"
#include "Testing.h"

using XBytes = std::vector<std::uint8_t>;

inline XBytes BytesOf( const XMemStream& inStream )
{
    return XBytes( inStream.GetData(), inStream.GetData() + inStream.GetLength() );
}

/// Two lower-case digits a byte, without spaces.
inline std::string Hex( const XMemStream& inStream )
{
    std::string text;
    for ( const std::uint8_t byte : BytesOf( inStream ) )
    {
        char digits[3];
        std::snprintf( digits, sizeof digits, "%02x", byte );
        text += digits;
    }
    return text;
}

/// Spaces are skipped.
inline XBytes FromHex( std::string inText )
{
    std::erase( inText, ' ' );
    XBytes bytes;
    for ( std::size_t i = 0; i + 1 < inText.size(); i += 2 )
        bytes.push_back( static_cast<std::uint8_t>( std::stoul( inText.substr( i, 2 ), nullptr, 16 ) ) );
    return bytes;
}
