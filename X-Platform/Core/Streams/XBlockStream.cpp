#include "Core/Streams/XBlockStream.h"

#include "Ground/XErrorNumbers.h"
#include "Ground/XFail.h"

#include <limits>

namespace
{
constexpr USize64 kLeastCapacity = 256;
constexpr USize64 kMostCapacity = std::numeric_limits<std::ptrdiff_t>::max();
} // namespace

XBlockStream::XBlockStream( bool inIsReadOnly ) : XStream( 0, false, true ), itsIsReadOnly( inIsReadOnly ) {}

void XBlockStream::UseBlock( std::uint8_t* inBlock, USize64 inUsed, USize64 inCapacity )
{
    itsBlock = inBlock;
    itsCapacity = inCapacity;
    Open( inUsed, 0 );
}

void XBlockStream::BlockHasMoved( std::uint8_t* inBlock )
{
    const SSize64 position = GetPosition();
    const USize64 used = GetUsed();
    itsBlock = inBlock;
    Open( used, position );
}

void XBlockStream::Open( USize64 inUsed, SSize64 inPosition )
{
    itsUsed = inUsed;
    OpenWindow( itsBlock, inUsed, itsIsReadOnly ? 0 : itsCapacity, inPosition );
}

void XBlockStream::SeekTo( SSize64 inPosition )
{
    if ( inPosition < 0 )
        XThrow( kErrorBadParameters );
    Open( GetUsed(), inPosition );
}

void XBlockStream::SetPhysicalSize( SSize64 inSize )
{
    if ( itsIsReadOnly || inSize <= static_cast<SSize64>( itsCapacity ) )
        return;
    const SSize64 position = GetPosition();
    const USize64 used = GetUsed();
    Reallocate( static_cast<USize64>( inSize ) );
    Open( used, position );
}

void XBlockStream::FillBuffer( SSize64 inPosition, void* buffer, USize64 count )
{
    const USize64 position = static_cast<USize64>( inPosition );
    const USize64 used = GetUsed();
    if ( position > used || count > used - position )
        XThrow( kErrorEndOfFile );
    std::memcpy( buffer, itsBlock + position, count );
}

void XBlockStream::DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count )
{
    XAssert( !itsIsReadOnly );
    const USize64 position = static_cast<USize64>( inPosition );
    const USize64 used = GetUsed();
    if ( count > kMostCapacity - position )
        XThrow( kErrorOutOfMemory );
    Grow( position + count );
    if ( position > used )
        std::memset( itsBlock + used, 0, position - used );
    std::memcpy( itsBlock + position, buffer, count );
    Open( std::max( used, position + count ), static_cast<SSize64>( position + count ) );
}

SSize64 XBlockStream::GetExtentSelf()
{
    return static_cast<SSize64>( GetUsed() );
}

void XBlockStream::SetExtentSelf( SSize64 inExtent )
{
    XAssert( !itsIsReadOnly );
    const SSize64 position = GetPosition();
    const USize64 used = GetUsed();
    const USize64 extent = static_cast<USize64>( inExtent );
    Grow( extent );
    if ( extent > used )
        std::memset( itsBlock + used, 0, extent - used );
    Open( extent, position );
}

void XBlockStream::Grow( USize64 inNeeded )
{
    if ( inNeeded <= itsCapacity )
        return;
    const USize64 doubled = itsCapacity <= kMostCapacity / 2 ? itsCapacity * 2 : kMostCapacity;
    Reallocate( std::max( { inNeeded, doubled, kLeastCapacity } ) );
}

/// Closes the window; the caller opens it again.
void XBlockStream::Reallocate( USize64 inCapacity )
{
    if ( inCapacity > kMostCapacity )
        XThrow( kErrorOutOfMemory );
    itsBlock = ResizeBlock( inCapacity );
    itsCapacity = inCapacity;
}
