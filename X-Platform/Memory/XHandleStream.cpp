#include "Memory/XHandleStream.h"

#include "Core/XFail.h"
#include "Core/XSwallowErrors.h"

XHandleStream::XHandleStream( XMemoryHandle& ioHandle, XLockMode inMode )
    : XBlockStream( !( inMode & kLockForWrite ) ), itsHandle( ioHandle ), itsMode( inMode )
{
    if ( !ioHandle.HasBlock() )
        ioHandle.Resize( 0 );
    itsLock.emplace( ioHandle, inMode );
    const USize64 size = ioHandle.GetDataSize();
    UseBlock( GetBytes(), size, size );
}

/// Where closing fails, the handle keeps its spare room.
XHandleStream::~XHandleStream()
{
    XSwallowErrors( [this] { Close(); } );
}

void XHandleStream::Close()
{
    if ( !itsLock )
        return;
    const USize64 used = GetUsed();
    const bool hasSpareRoom = used < GetCapacity();
    itsLock.reset();
    UseBlock( nullptr, 0, 0 );
    if ( hasSpareRoom )
        itsHandle.Resize( used );
}

/// A handle that is locked cannot be resized, so it lies elsewhere afterwards even where it could not grow.
std::uint8_t* XHandleStream::ResizeBlock( USize64 inCapacity )
{
    XAssert( itsLock );
    itsLock.reset();
    try
    {
        itsHandle.Resize( inCapacity );
    }
    catch ( ... )
    {
        itsLock.emplace( itsHandle, itsMode );
        BlockHasMoved( GetBytes() );
        throw;
    }
    itsLock.emplace( itsHandle, itsMode );
    return GetBytes();
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
