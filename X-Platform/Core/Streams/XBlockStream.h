#pragma once

#include "Core/Streams/XStream.h"

/// A stream over one block of memory, as long as the block's used part. The concrete class provides the block and
/// enlarges it; everything else is the same for all: the stream's buffer is the block itself.
///
/// Errors: 1012 when the block cannot grow, besides those of XStream; writing where the block is for reading only is an
/// internal error.
class KORVALE_API XBlockStream : public XStream
{
public:
    void SeekTo( SSize64 inPosition ) override;
    void SetPhysicalSize( SSize64 inSize ) override;
    void Flush() override {}

protected:
    explicit XBlockStream( bool inIsReadOnly );

    /// Works on a block from now on, of which `inUsed` bytes are the stream's contents, and moves to the start.
    void UseBlock( std::uint8_t* inBlock, USize64 inUsed, USize64 inCapacity );
    /// The same block with the same contents lies elsewhere now.
    void BlockHasMoved( std::uint8_t* inBlock );
    /// Makes the block `inCapacity` bytes, which keeps its contents, and returns where it lies. When it throws, the block
    /// is as it was.
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

    std::uint8_t* itsBlock = nullptr; // not written to where the block is for reading only
    USize64 itsUsed = 0;              // while no window is open
    USize64 itsCapacity = 0;
    const bool itsIsReadOnly;
};
