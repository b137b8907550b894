#pragma once

#include "Core/Streams/XStream.h"

/// A stream over one block of memory; its length is that of the block's used part. The concrete class
/// provides and enlarges the block. The block itself serves as the stream's buffer.
///
/// Errors: besides those of XStream, 1012 if the block cannot grow. Writing to a read-only block is an
/// internal error.
class KORVALE_API XBlockStream : public XStream
{
public:
    void SeekTo( SSize64 inPosition ) override;
    void SetPhysicalSize( SSize64 inSize ) override;
    void Flush() override {}

protected:
    explicit XBlockStream( bool inIsReadOnly );

    /// Switches to another block, whose first `inUsed` bytes are the stream's contents, and moves to the
    /// start.
    void UseBlock( std::uint8_t* inBlock, USize64 inUsed, USize64 inCapacity );
    /// Reports that the block now lies at another address, with the same contents.
    void BlockHasMoved( std::uint8_t* inBlock );
    /// Resizes the block to `inCapacity` bytes, keeping its contents, and returns its address. If it throws,
    /// the block is unchanged.
    virtual std::uint8_t* ResizeBlock( USize64 inCapacity ) = 0;

    std::uint8_t* GetBlock() const { return itsBlock; }
    USize64 GetUsed() const { return IsWindowOpen() ? GetWindowFilled() : itsUsed; }
    USize64 GetCapacity() const { return itsCapacity; }
    bool IsReadOnly() const { return itsIsReadOnly; }

    void FillBuffer( SSize64 inPosition, void* buffer, USize64 count ) override;
    void DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count ) override;
    SSize64 GetExtentSelf() override;
    void SetExtentSelf( SSize64 inExtent ) override;

private:
    void Open( USize64 inUsed, SSize64 inPosition );
    void Grow( USize64 inNeeded );
    void Reallocate( USize64 inCapacity );

    std::uint8_t* itsBlock = nullptr; // not written to when read-only
    USize64 itsUsed = 0;              // while no window is open
    USize64 itsCapacity = 0;
    const bool itsIsReadOnly;
};
