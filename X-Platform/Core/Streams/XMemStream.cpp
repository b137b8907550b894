#include "Core/Streams/XMemStream.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <cstdlib>

XMemStream::XMemStream( USize64 inReserve ) : XBlockStream( false )
{
    UseBlock( inReserve > 0 ? XMemStream::ResizeBlock( inReserve ) : nullptr, 0, inReserve );
}

XMemStream::XMemStream( const void* inData, USize64 inLength ) : XBlockStream( true )
{
    XAssert( inData || inLength == 0 );
    UseBlock( const_cast<std::uint8_t*>( static_cast<const std::uint8_t*>( inData ) ), inLength, inLength );
}

XMemStream::~XMemStream()
{
    if ( !IsReadOnly() )
        std::free( GetBlock() );
}

void XMemStream::Clear()
{
    XAssert( !IsReadOnly() );
    UseBlock( GetBlock(), 0, GetCapacity() );
}

std::uint8_t* XMemStream::ResizeBlock( USize64 inCapacity )
{
    void* const block = std::realloc( GetBlock(), inCapacity );
    if ( !block )
        XThrow( kErrorOutOfMemory );
    return static_cast<std::uint8_t*>( block );
}
