#pragma once

#include "Core/Streams/XBlockStream.h"
#include "Memory/XMemoryHandle.h"
#include "Threads/XLock.h"

#include <optional>

/// A stream over the bytes of a handle, which are its extent. It begins at position 0; writing replaces bytes and then
/// lengthens the handle.
///
/// Ownership: the handle belongs to the caller and outlives the stream, which keeps it locked: it cannot be
/// purged meanwhile, and has spare room at its end until the stream is closed.
/// Errors: 1012 when the handle cannot grow, besides those of XStream. A stream that has lost its bytes, since they were
/// purged while the handle grew and could not be brought back, is closed.
class KORVALE_API XHandleStream : public XBlockStream
{
public:
    /// With kLockForRead the stream only reads, and writing is an internal error.
    explicit XHandleStream( XMemoryHandle& ioHandle, XLockMode inMode = kLockForReadWrite );
    /// Closes; errors are lost.
    ~XHandleStream() override;

    /// Unlocks the handle and cuts off the spare room, which takes no memory while no other handle shares the bytes. The
    /// stream is empty afterwards, and writing is an internal error. Throws 1020 where `XMemoryHandle::CheckIntact` does:
    /// bytes that were read, or written, are not those of the handle.
    void Close();

    /// A new handle with a stream of its own in it: the header and the object in its envelope. `inLevel` is what the
    /// stream suggests to objects that compress themselves.
    static XMemoryHandle ObjectToHandle(
        const XStorable& inObject, XCompressionLevel inLevel = kNormalCompression,
        XStorable::XOptions inOptions = XStorable::kNoOptions );
    /// The object that `ObjectToHandle` has written; the caller owns it. Throws what reading throws.
    static XStorable*
    HandleToObject( const XMemoryHandle& inHandle, XStorable::XOptions inOptions = XStorable::kNoOptions );

protected:
    std::uint8_t* ResizeBlock( USize64 inCapacity ) override;

private:
    void Relock( USize64 inUsed );
    std::uint8_t* GetBytes() const { return static_cast<std::uint8_t*>( itsHandle.GetData() ); }

    XMemoryHandle& itsHandle;
    const XLockMode itsMode;
    std::optional<XLock> itsLock; // empty once the stream is closed
};
