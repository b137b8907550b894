#pragma once

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

/// Reads bytes that stay where they are; an open-ended one does not know where they end.
struct ReadingStream : XStream
{
    explicit ReadingStream( const XBytes& inBytes, USize64 inBufferSize = 0, bool inIsOpenEnded = true )
        : XStream( inBufferSize, inBufferSize > 0, false ), itsBytes( inBytes ),
          itsIsOpenEnded( inIsOpenEnded )
    {
    }

protected:
    void FillBuffer( SSize64 inPosition, void* buffer, USize64 count ) override
    {
        if ( static_cast<USize64>( inPosition ) + count > itsBytes.size() )
            XThrow( 1260 );
        std::memcpy( buffer, itsBytes.data() + inPosition, count );
    }
    void DrainBuffer( SSize64, const void*, USize64 ) override {}
    SSize64 GetExtentSelf() override { return itsIsOpenEnded ? -1 : static_cast<SSize64>( itsBytes.size() ); }
    void SetExtentSelf( SSize64 ) override {}

private:
    const XBytes& itsBytes;
    const bool itsIsOpenEnded;
};
