#include "Images/WXMLReader.h"

#include <memory>
#include <objbase.h>
#include <windows.h>
#include <xmllite.h>

// XmlLite, a part of Windows that the cross compiler has no import library for: its one function is looked up.
// It prohibits document type definitions by default.

namespace
{
template<class T>
struct Releaser
{
    void operator()( T* ioObject ) const { ioObject->Release(); }
};
template<class T>
using Owned = std::unique_ptr<T, Releaser<T>>;

Owned<IXmlReader> MakeReader()
{
    using Create = HRESULT( WINAPI* )( REFIID, void**, IMalloc* );
    static const auto sCreate = []() -> Create
    {
        const auto library = LoadLibraryExW( L"xmllite.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32 );
        const auto found = library ? GetProcAddress( library, "CreateXmlReader" ) : nullptr;
        return reinterpret_cast<Create>( reinterpret_cast<void*>( found ) );
    }();
    // Its identifier, which the headers of the cross compiler declare without a library that defines it.
    static constexpr GUID kReader{
        0x7279FC81, 0x709D, 0x4095, { 0xB6, 0x3D, 0x69, 0xFE, 0x4B, 0x0D, 0x90, 0x30 } };
    void* reader = nullptr;
    if ( !sCreate || FAILED( sCreate( kReader, &reader, nullptr ) ) )
        return nullptr;
    return Owned<IXmlReader>( static_cast<IXmlReader*>( reader ) );
}

Owned<IStream> MakeStream( std::string_view inText )
{
    const auto memory = GlobalAlloc( GMEM_MOVEABLE, std::max<std::size_t>( inText.size(), 1 ) );
    if ( !memory )
        throw std::bad_alloc();
    std::copy( inText.begin(), inText.end(), static_cast<char*>( GlobalLock( memory ) ) );
    GlobalUnlock( memory );
    IStream* stream = nullptr;
    if ( FAILED( CreateStreamOnHGlobal( memory, TRUE, &stream ) ) )
    {
        GlobalFree( memory );
        throw std::bad_alloc();
    }
    stream->SetSize( { .QuadPart = inText.size() } );
    return Owned<IStream>( stream );
}

std::string ToUTF8( const WCHAR* inText, UINT inLength )
{
    const auto length = static_cast<int>( inLength );
    const auto size = WideCharToMultiByte( CP_UTF8, 0, inText, length, nullptr, 0, nullptr, nullptr );
    std::string text( static_cast<std::size_t>( size ), '\0' );
    WideCharToMultiByte( CP_UTF8, 0, inText, length, text.data(), size, nullptr, nullptr );
    return text;
}

std::string GetName( IXmlReader& inReader )
{
    const WCHAR* name = nullptr;
    UINT length = 0;
    inReader.GetLocalName( &name, &length );
    return ToUTF8( name, length );
}

std::string GetValue( IXmlReader& inReader )
{
    const WCHAR* value = nullptr;
    UINT length = 0;
    inReader.GetValue( &value, &length );
    return ToUTF8( value, length );
}

WXMLVisitor::Attributes GetAttributes( IXmlReader& ioReader )
{
    WXMLVisitor::Attributes attributes;
    for ( auto result = ioReader.MoveToFirstAttribute(); result == S_OK;
          result = ioReader.MoveToNextAttribute() )
        attributes.push_back( { GetName( ioReader ), GetValue( ioReader ) } );
    ioReader.MoveToElement();
    return attributes;
}
} // namespace

void WXMLReader::Parse( std::string_view inText, WXMLVisitor& ioVisitor )
{
    const auto reader = MakeReader();
    if ( !reader )
        Refuse( "cannot be read: the system has no XmlLite" );
    const auto stream = MakeStream( inText );
    reader->SetInput( stream.get() );
    std::uint32_t depth = 0;
    XmlNodeType type = XmlNodeType_None;
    HRESULT result = S_OK;
    while ( ( result = reader->Read( &type ) ) == S_OK )
    {
        if ( type == XmlNodeType_EndElement )
            --depth;
        if ( type == XmlNodeType_Text || type == XmlNodeType_CDATA )
            ioVisitor.AddText( depth, GetValue( *reader ) );
        if ( type != XmlNodeType_Element )
            continue;
        if ( depth == kMostDepth )
            Refuse( "is nested too deeply (at most " + std::to_string( kMostDepth ) + " elements)" );
        const auto isEmpty = reader->IsEmptyElement() != FALSE;
        const auto name = GetName( *reader );
        ioVisitor.EnterElement( depth, name, GetAttributes( *reader ) );
        depth += isEmpty ? 0 : 1;
    }
    if ( FAILED( result ) )
    {
        UINT line = 0;
        reader->GetLineNumber( &line );
        Refuse( "is damaged at line " + std::to_string( line ) );
    }
}
