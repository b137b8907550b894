#include "Servers/XHTTPHeaders.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <algorithm>

namespace
{

char ToLower( char inCharacter )
{
    return inCharacter >= 'A' && inCharacter <= 'Z' ? static_cast<char>( inCharacter + ( 'a' - 'A' ) )
                                                    : inCharacter;
}

bool IsTokenCharacter( char inCharacter )
{
    return ( inCharacter >= '0' && inCharacter <= '9' ) ||
        ( ToLower( inCharacter ) >= 'a' && ToLower( inCharacter ) <= 'z' ) ||
        ( inCharacter != '\0' &&
          std::string_view( "!#$%&'*+-.^_`|~" ).find( inCharacter ) != std::string_view::npos );
}

void CheckField( std::string_view inName, std::string_view inValue )
{
    if ( !XHTTPHeaders::IsValid( inName, inValue ) )
        XThrow( kErrorBadParameters );
}

} // namespace

bool XHTTPHeaders::AreEqual( std::string_view inFirst, std::string_view inSecond )
{
    return std::ranges::equal( inFirst, inSecond, {}, ToLower, ToLower );
}

bool XHTTPHeaders::IsValid( std::string_view inName, std::string_view inValue )
{
    using namespace std::literals;
    return !inName.empty() && std::ranges::all_of( inName, IsTokenCharacter ) &&
        inValue.find_first_of( "\r\n\0"sv ) == std::string_view::npos;
}

std::string XHTTPHeaders::Get( std::string_view inName ) const
{
    std::string value;
    bool isFirst = true;
    for ( const XField& field : itsFields )
        if ( AreEqual( field.name, inName ) )
        {
            if ( !isFirst )
                value += ", ";
            value += field.value;
            isFirst = false;
        }
    return value;
}

void XHTTPHeaders::Set( std::string_view inName, std::string_view inValue )
{
    CheckField( inName, inValue );
    XField field{ std::string( inName ), std::string( inValue ) };
    Remove( inName );
    itsFields.push_back( std::move( field ) );
}

void XHTTPHeaders::Add( std::string_view inName, std::string_view inValue )
{
    CheckField( inName, inValue );
    itsFields.push_back( { std::string( inName ), std::string( inValue ) } );
}

void XHTTPHeaders::Remove( std::string_view inName )
{
    const std::string name( inName ); // which may be that of a field that goes
    std::erase_if( itsFields, [&]( const XField& inField ) { return AreEqual( inField.name, name ); } );
}

const XHTTPHeaders::XField* XHTTPHeaders::Find( std::string_view inName ) const
{
    const auto found = std::ranges::find_if(
        itsFields, [&]( const XField& inField ) { return AreEqual( inField.name, inName ); } );
    return found == itsFields.end() ? nullptr : &*found;
}
