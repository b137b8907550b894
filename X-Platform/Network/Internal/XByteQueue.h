#pragma once

#include "Ground/XTypes.h"

#include <memory>
#include <span>

/// A FIFO queue of bytes that keeps its memory. Internal to network streams.
class XByteQueue
{
public:
    USize64 GetCount() const { return itsEnd - itsBegin; }
    const std::uint8_t* GetData() const { return itsBytes.get() + itsBegin; }

    /// Returns room for `inCount` bytes at the end, valid until the next call. `Commit` adds the bytes
    /// written there.
    std::uint8_t* MakeRoom( USize64 inCount );
    void Commit( USize64 inCount ) { itsEnd += inCount; }

    /// Moves up to `inCount` bytes out from the front; returns their number.
    USize64 Take( std::uint8_t* outBytes, USize64 inCount );

    /// Removes the first `inCount` bytes, which must exist.
    void Drop( USize64 inCount ) { itsBegin += inCount; }

    /// Inserts bytes at the front.
    void PutBack( const std::uint8_t* inBytes, USize64 inCount );

private:
    void Move( USize64 inBegin, USize64 inCapacity );

    std::unique_ptr<std::uint8_t[]> itsBytes;
    USize64 itsCapacity = 0;
    USize64 itsBegin = 0;
    USize64 itsEnd = 0;
};
