#include "Core/Streams/XStringStream.h"

#include "Core/Strings/XString.h"
#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

XStringStream::XStringStream( const XString& inString )
    : XStream( 0, false, true ), itsString( const_cast<XString*>( &inString ) ), isReadOnly( true )
{
}

XStringStream::XStringStream( XString& ioString )
    : XStream( 0, false, true ), itsString( &ioString ), isReadOnly( false )
{
}

XStringStream::~XStringStream() = default;

void XStringStream::FillBuffer( SSize64 inPosition, void* buffer, USize64 count )
{
    const std::string_view text = itsString->GetStringView();
    const USize64 position = static_cast<USize64>( inPosition );
    if ( position > text.size() || count > text.size() - position )
        XThrow( kErrorEndOfFile );
    std::memcpy( buffer, text.data() + position, count );
}

void XStringStream::DrainBuffer( SSize64 streamPos, const void* buffer, USize64 count )
{
    XAssert( !isReadOnly );
    XString& str = *itsString;
    XAssert( USize64( streamPos ) <= USize64( str.GetLength() ) );
    const char* bytes = static_cast<const char*>( buffer );
    const USize64 position = static_cast<USize64>( streamPos );
    const USize64 replaced = std::min( count, str.GetLength() - position );
    if ( replaced > 0 )
        std::memcpy( str.GetCharPtr() + position, bytes, replaced );
    str += std::string_view( bytes + replaced, count - replaced );
}

SSize64 XStringStream::GetExtentSelf()
{
    return static_cast<SSize64>( itsString->GetLength() );
}

void XStringStream::SetExtentSelf( SSize64 inExtent )
{
    XAssert( !isReadOnly );
    itsString->Resize( static_cast<USize64>( inExtent ) );
}
