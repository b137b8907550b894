#pragma once

#include "Core/Streams/XBlockStream.h"
#include "Memory/XMemoryHandle.h"
#include "Threads/XLock.h"

#include <optional>

/// A stream over the bytes of a handle. Its extent is the size of the handle. It starts at position 0;
/// writing replaces bytes and extends the handle at its end.
///
/// Ownership: the handle belongs to the caller and must outlive the stream, which keeps it locked. Until the
/// stream is closed, the handle cannot be purged and has spare capacity at its end.
/// Errors: besides those of XStream, 1012 if the handle cannot grow. If the bytes were purged while the
/// handle grew and cannot be brought back, the stream is closed.
class KORVALE_API XHandleStream : public XBlockStream
{
public:
    /// With kLockForRead the stream is read-only, and writing is an internal error.
    explicit XHandleStream( XMemoryHandle& ioHandle, XLockMode inMode = kLockForReadWrite );
    /// Closes the stream; errors are swallowed.
    ~XHandleStream() override;

    /// Unlocks the handle and trims the spare capacity, which needs no memory unless another handle shares
    /// the bytes. The stream is empty afterwards, and writing is an internal error. Throws 1020 like
    /// `XMemoryHandle::CheckIntact`, if the bytes read or written are not those of the handle.
    void Close();

    /// Returns a new handle that contains a complete stream: the header and the object in its envelope.
    /// `inLevel` is the compression level that the stream suggests to objects that compress themselves.
    static XMemoryHandle ObjectToHandle(
        const XStorable& inObject, XCompressionLevel inLevel = kNormalCompression,
        XStorable::XOptions inOptions = XStorable::kNoOptions );
    /// Reads an object written by `ObjectToHandle`; the caller owns it. Throws the errors of reading.
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
