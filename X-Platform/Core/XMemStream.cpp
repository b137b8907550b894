#include "Core/XMemStream.h"

#include "Core/XErrorNumbers.h"
#include "Core/XFail.h"

#include <cstdlib>
#include <limits>

namespace
{
constexpr USize64 kLeastCapacity = 256;
constexpr USize64 kMostCapacity = std::numeric_limits<std::ptrdiff_t>::max();
} // namespace

XMemStream::XMemStream( USize64 inReserve ) : XStream( 0, false, true )
{
    if ( inReserve > 0 )
        Reallocate( inReserve );
    OpenWindow( itsData, 0, itsCapacity, 0 );
}

XMemStream::XMemStream( const void* inData, USize64 inLength )
    : XStream( 0, false, true ),
      itsData( const_cast<std::uint8_t*>( static_cast<const std::uint8_t*>( inData ) ) ),
      itsIsReadOnly( true )
{
    XAssert( inData || inLength == 0 );
    OpenWindow( itsData, inLength, 0, 0 );
}

XMemStream::~XMemStream()
{
    if ( !itsIsReadOnly )
        std::free( itsData );
}

USize64 XMemStream::GetLength() const
{
    return IsWindowOpen() ? GetWindowFilled() : itsUsed;
}

void XMemStream::Clear()
{
    XAssert( !itsIsReadOnly );
    OpenWindow( itsData, 0, itsCapacity, 0 );
}

void XMemStream::SeekTo( SSize64 inPosition )
{
    if ( inPosition < 0 )
        XThrow( kErrorBadParameters );
    itsUsed = GetLength();
    OpenWindow( itsData, itsUsed, itsCapacity, inPosition );
}

void XMemStream::SetPhysicalSize( SSize64 inSize )
{
    if ( itsIsReadOnly || inSize <= static_cast<SSize64>( itsCapacity ) )
        return;
    const SSize64 position = GetPosition();
    itsUsed = GetLength();
    Reallocate( static_cast<USize64>( inSize ) );
    OpenWindow( itsData, itsUsed, itsCapacity, position );
}

void XMemStream::FillBuffer( SSize64 inPosition, void* buffer, USize64 count )
{
    const USize64 position = static_cast<USize64>( inPosition );
    const USize64 length = GetLength();
    if ( position > length || count > length - position )
        XThrow( kErrorEndOfFile );
    std::memcpy( buffer, itsData + position, count );
}

void XMemStream::DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count )
{
    XAssert( !itsIsReadOnly );
    const USize64 position = static_cast<USize64>( inPosition );
    const USize64 used = GetLength();
    if ( count > kMostCapacity - position )
        XThrow( kErrorOutOfMemory );
    Grow( position + count );
    if ( position > used )
        std::memset( itsData + used, 0, position - used );
    std::memcpy( itsData + position, buffer, count );
    itsUsed = std::max( used, position + count );
    OpenWindow( itsData, itsUsed, itsCapacity, static_cast<SSize64>( position + count ) );
}

SSize64 XMemStream::GetExtentSelf()
{
    return static_cast<SSize64>( GetLength() );
}

void XMemStream::SetExtentSelf( SSize64 inExtent )
{
    XAssert( !itsIsReadOnly );
    const SSize64 position = GetPosition();
    const USize64 used = GetLength();
    const USize64 extent = static_cast<USize64>( inExtent );
    Grow( extent );
    if ( extent > used )
        std::memset( itsData + used, 0, extent - used );
    itsUsed = extent;
    OpenWindow( itsData, itsUsed, itsCapacity, position );
}

void XMemStream::Grow( USize64 inNeeded )
{
    if ( inNeeded <= itsCapacity )
        return;
    const USize64 doubled = itsCapacity <= kMostCapacity / 2 ? itsCapacity * 2 : kMostCapacity;
    Reallocate( std::max( { inNeeded, doubled, kLeastCapacity } ) );
}

void XMemStream::Reallocate( USize64 inCapacity )
{
    void* data = inCapacity <= kMostCapacity ? std::realloc( itsData, inCapacity ) : nullptr;
    if ( !data )
        XThrow( kErrorOutOfMemory );
    itsData = static_cast<std::uint8_t*>( data );
    itsCapacity = inCapacity;
}
