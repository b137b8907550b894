#pragma once

#include "Core/XStream.h"

/// A stream over a block of memory, as long as the block's used part.
///
/// Ownership: the default form owns a block that grows as it is written; the other reads bytes that the
/// caller keeps alive and unchanged, and writing to it is an internal error.
/// Errors: 1012 when the block cannot grow, besides those of XStream.
class KORVALE_API XMemStream : public XStream
{
public:
    explicit XMemStream( USize64 inReserve = 0 );
    XMemStream( const void* inData, USize64 inLength );
    ~XMemStream() override;

    /// The used part; valid until the next write.
    const std::uint8_t* GetData() const { return itsData; }
    USize64 GetLength() const;

    /// Back to an empty stream at position 0; the block is kept.
    void Clear();

    void SeekTo( SSize64 inPosition ) override;
    void SetPhysicalSize( SSize64 inSize ) override;
    void Flush() override {}

protected:
    void FillBuffer( SSize64 inPosition, void* buffer, USize64 count ) override;
    void DrainBuffer( SSize64 inPosition, const void* buffer, USize64 count ) override;
    SSize64 GetExtentSelf() override;
    void SetExtentSelf( SSize64 inExtent ) override;

private:
    void Grow( USize64 inCapacity );
    void Reallocate( USize64 inCapacity );

    std::uint8_t* itsData = nullptr; // const when not owned
    USize64 itsUsed = 0;             // while no window is open
    USize64 itsCapacity = 0;         // 0: not owned
    bool itsIsReadOnly = false;
};
