#pragma once

#include "Core/XStream.h"
#include "Memory/XMemoryHandle.h"
#include "Threads/XLock.h"

#include <optional>

/// A stream over the bytes of a handle, which are its extent. It begins at position 0; writing replaces bytes and then
/// lengthens the handle.
///
/// Ownership: the handle belongs to the caller and outlives the stream, which keeps it locked: it cannot be
/// purged meanwhile, and has spare room at its end until the stream is closed.
/// Errors: 1012 when the handle cannot grow, besides those of XStream.
class KORVALE_API XHandleStream : public XStream
{
public:
    /// With kLockForRead the stream only reads, and writing is an internal error.
    explicit XHandleStream( XMemoryHandle& ioHandle, XLockMode inMode = kLockForReadWrite );
    /// Closes; errors are lost.
    ~XHandleStream() override;

    /// Unlocks the handle and cuts off the spare room. Reading and writing are internal errors afterwards.
    void Close();

    void SeekTo( SSize64 inPosition ) override;
    void SetPhysicalSize( SSize64 inSize ) override;
    void Flush() override {}

    /// A new handle with a stream of its own in it: the header and the object in its envelope. `inLevel` is what the stream
    /// suggests to objects that compress themselves.
    static XMemoryHandle ObjectToHandle(
        const XStorable& inObject, XCompressionLevel inLevel = kNormalCompression,
        XStorable::XOptions inOptions = XStorable::kNoOptions );
    /// The object that `ObjectToHandle` has written; the caller owns it. Throws what reading throws.
    static XStorable*
    HandleToObject( const XMemoryHandle& inHandle, XStorable::XOptions inOptions = XStorable::kNoOptions );

protected:
    void FillBuffer( SSize64 inPosition, void* buffer, USize64 count ) override;
    void DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count ) override;
    SSize64 GetExtentSelf() override;
    void SetExtentSelf( SSize64 inExtent ) override;

private:
    bool IsReadOnly() const { return !( itsMode & kLockForWrite ); }
    USize64 GetLength() const { return IsWindowOpen() ? GetWindowFilled() : itsUsed; }
    std::uint8_t* GetBytes() const { return static_cast<std::uint8_t*>( itsHandle.GetData() ); }
    void OpenAt( USize64 inUsed, SSize64 inPosition );
    void Grow( USize64 inNeeded );
    void ResizeHandle( USize64 inSize );

    XMemoryHandle& itsHandle;
    const XLockMode itsMode;
    std::optional<XLock> itsLock; // empty once the stream is closed
    USize64 itsUsed = 0;          // while no window is open
    USize64 itsCapacity = 0;      // of the handle
};
