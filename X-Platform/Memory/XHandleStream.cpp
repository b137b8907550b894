#include "Memory/XHandleStream.h"

#include "Core/XErrorNumbers.h"
#include "Core/XFail.h"

#include <algorithm>
#include <limits>

namespace
{
constexpr USize64 kLeastCapacity = 256;
constexpr USize64 kMostCapacity = std::numeric_limits<std::ptrdiff_t>::max();
} // namespace

XHandleStream::XHandleStream( XMemoryHandle& ioHandle, XLockMode inMode )
    : XStream( 0, false, true ), itsHandle( ioHandle ), itsMode( inMode )
{
    if ( !ioHandle.HasBlock() )
        ioHandle.Resize( 0 );
    itsLock.emplace( ioHandle, inMode );
    itsCapacity = ioHandle.GetDataSize();
    OpenAt( itsCapacity, 0 );
}

XHandleStream::~XHandleStream()
{
    try
    {
        Close();
    }
    catch ( ... )
    {
        // The handle keeps its spare room.
    }
}

void XHandleStream::Close()
{
    if ( !itsLock )
        return;
    const USize64 used = GetLength();
    itsLock.reset();
    OpenWindow( nullptr, 0, 0, 0 );
    if ( used < itsCapacity )
        itsHandle.Resize( used );
}

void XHandleStream::OpenAt( USize64 inUsed, SSize64 inPosition )
{
    itsUsed = inUsed;
    OpenWindow( GetBytes(), inUsed, IsReadOnly() ? 0 : itsCapacity, inPosition );
}

void XHandleStream::SeekTo( SSize64 inPosition )
{
    XAssert( itsLock );
    if ( inPosition < 0 )
        XThrow( kErrorBadParameters );
    OpenAt( GetLength(), inPosition );
}

void XHandleStream::SetPhysicalSize( SSize64 inSize )
{
    if ( IsReadOnly() || inSize <= static_cast<SSize64>( itsCapacity ) )
        return;
    const SSize64 position = GetPosition();
    ResizeHandle( static_cast<USize64>( inSize ) );
    OpenAt( itsUsed, position );
}

void XHandleStream::FillBuffer( SSize64 inPosition, void* buffer, USize64 count )
{
    XAssert( itsLock );
    const USize64 position = static_cast<USize64>( inPosition );
    const USize64 length = GetLength();
    if ( position > length || count > length - position )
        XThrow( kErrorEndOfFile );
    std::memcpy( buffer, GetBytes() + position, count );
}

void XHandleStream::DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count )
{
    XAssert( itsLock );
    XAssert( !IsReadOnly() );
    const USize64 position = static_cast<USize64>( inPosition );
    const USize64 used = GetLength();
    if ( count > kMostCapacity - position )
        XThrow( kErrorOutOfMemory );
    Grow( position + count );
    if ( position > used )
        std::memset( GetBytes() + used, 0, position - used );
    std::memcpy( GetBytes() + position, buffer, count );
    OpenAt( std::max( used, position + count ), static_cast<SSize64>( position + count ) );
}

SSize64 XHandleStream::GetExtentSelf()
{
    return static_cast<SSize64>( GetLength() );
}

void XHandleStream::SetExtentSelf( SSize64 inExtent )
{
    XAssert( itsLock );
    XAssert( !IsReadOnly() );
    const SSize64 position = GetPosition();
    const USize64 used = GetLength();
    const USize64 extent = static_cast<USize64>( inExtent );
    Grow( extent );
    if ( extent > used )
        std::memset( GetBytes() + used, 0, extent - used );
    OpenAt( extent, position );
}

void XHandleStream::Grow( USize64 inNeeded )
{
    if ( inNeeded <= itsCapacity )
        return;
    const USize64 doubled = itsCapacity <= kMostCapacity / 2 ? itsCapacity * 2 : kMostCapacity;
    ResizeHandle( std::max( { inNeeded, doubled, kLeastCapacity } ) );
}

/// The window is closed in between; who calls opens it again. A handle that cannot grow is what it was.
void XHandleStream::ResizeHandle( USize64 inSize )
{
    const SSize64 position = GetPosition();
    itsUsed = GetLength();
    itsLock.reset();
    try
    {
        itsHandle.Resize( inSize );
    }
    catch ( ... )
    {
        itsLock.emplace( itsHandle, itsMode );
        OpenAt( itsUsed, position );
        throw;
    }
    itsLock.emplace( itsHandle, itsMode );
    itsCapacity = inSize;
}

XMemoryHandle XHandleStream::ObjectToHandle(
    const XStorable& inObject, XCompressionLevel inLevel, XStorable::XOptions inOptions )
{
    XMemoryHandle handle( 0 );
    XHandleStream stream( handle );
    stream.SetSuggestedCompressionLevel( inLevel );
    stream.WriteStreamInfo();
    stream.WriteObject( inObject, inOptions );
    stream.Close();
    return handle;
}

XStorable* XHandleStream::HandleToObject( const XMemoryHandle& inHandle, XStorable::XOptions inOptions )
{
    XMemoryHandle handle( inHandle );
    XHandleStream stream( handle, kLockForRead );
    stream.ReadStreamInfo();
    return stream.ReadObject( inOptions );
}
