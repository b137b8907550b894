#pragma once

#include "Core/Streams/XBlockStream.h"

/// A stream over a block of memory.
///
/// Ownership: the default form owns a block that grows as it is written; the other one reads bytes that the
/// caller keeps alive and unchanged, and writing to it is an internal error.
/// Errors: besides those of XStream, 1012 if the block cannot grow.
class KORVALE_API XMemStream : public XBlockStream
{
public:
    explicit XMemStream( USize64 inReserve = 0 );
    XMemStream( const void* inData, USize64 inLength );
    ~XMemStream() override;

    /// The used part; valid until the next write.
    const std::uint8_t* GetData() const { return GetBlock(); }
    USize64 GetLength() const { return GetUsed(); }

    /// Empties the stream and moves to position 0; the block is kept.
    void Clear();

protected:
    std::uint8_t* ResizeBlock( USize64 inCapacity ) override;
};
