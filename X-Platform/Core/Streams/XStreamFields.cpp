#include "Core/Streams/XStreamFields.h"

#include "Core/Strings/XString.h"
#include "System/WCodePage.h"

#include <algorithm>

namespace
{
/// What begins a field that has a name of its own.
auto InQuotes( const char* inName )
{
    return [inName] { return std::string( "the field \"" ) + inName + '"'; };
}
} // namespace

std::uint32_t XReadField32( XStream& inStream, const char* inName )
{
    XBeginField( inStream, InQuotes( inName ) );
    const std::uint32_t number = inStream.Read32();
    XEndField( inStream, [&] { return std::string( inName ) + ": " + std::to_string( number ); } );
    return number;
}

void XReadFieldString( XStream& inStream, const char* inName, XString& outString )
{
    XBeginField( inStream, InQuotes( inName ) );
    inStream.ReadString( outString );
    XEndField( inStream, [&] { return std::string( inName ) + ": " + XQuoteStoredText( outString ); } );
}

std::string XDescribeVersion( XVersion inVersion )
{
    return "class " + std::to_string( inVersion.GetClassID() ) + ", revision " +
        std::to_string( inVersion.GetClassRevision() );
}

std::string XQuoteStoredText( const XString& inText )
{
    constexpr std::size_t kMostBytes = 200;
    auto text = WCodePage::Windows1252ToUTF8( inText.GetStringView().substr( 0, kMostBytes ) );
    std::ranges::replace_if(
        text, []( char inByte ) { return static_cast<unsigned char>( inByte ) < ' '; }, ' ' );
    return '"' + text + ( inText.GetLength() > kMostBytes ? "..." : "" ) + '"';
}
