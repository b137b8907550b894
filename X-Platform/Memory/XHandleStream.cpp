#include "Memory/XHandleStream.h"

#include "Core/Errors/Internal/XSwallowErrors.h"
#include "Ground/XFail.h"

XHandleStream::XHandleStream( XMemoryHandle& ioHandle, XLockMode inMode )
    : XBlockStream( !( inMode & kLockForWrite ) ), itsHandle( ioHandle ), itsMode( inMode )
{
    if ( !ioHandle.HasBlock() )
        ioHandle.Resize( 0 );
    itsLock.emplace( ioHandle, inMode );
    const USize64 size = ioHandle.GetDataSize();
    UseBlock( GetBytes(), size, size );
}

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
    const auto unlock = [&]
    {
        itsLock.reset();
        UseBlock( nullptr, 0, 0 );
    };
    try
    {
        itsHandle.CheckIntact();
    }
    catch ( ... )
    {
        unlock();
        throw;
    }
    unlock();
    if ( hasSpareRoom )
        itsHandle.Resize( used );
}

/// A locked handle cannot be resized, so its bytes may move even if it could not grow.
std::uint8_t* XHandleStream::ResizeBlock( USize64 inCapacity )
{
    XAssert( itsLock );
    const USize64 used = GetUsed();
    itsLock.reset();
    try
    {
        itsHandle.Resize( inCapacity );
    }
    catch ( ... )
    {
        Relock( used );
        BlockHasMoved( GetBytes() );
        throw;
    }
    Relock( used );
    return GetBytes();
}

/// The handle may have been purged in between. When it does not come back the stream is closed, for its bytes are gone.
void XHandleStream::Relock( USize64 inUsed )
{
    try
    {
        itsLock.emplace( itsHandle, itsMode );
    }
    catch ( ... )
    {
        UseBlock( nullptr, 0, 0 );
        XSwallowErrors( [&] { itsHandle.Resize( inUsed ); } );
        throw;
    }
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
    std::unique_ptr<XStorable> object( stream.ReadObject( inOptions ) );
    stream.Close(); // tells whether the bytes could be read
    return object.release();
}
