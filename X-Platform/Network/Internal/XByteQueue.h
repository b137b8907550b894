#pragma once

#include "Ground/XTypes.h"

#include <memory>
#include <span>

/// Bytes that come in at one end and go out at the other. Keeps its memory. Internal to network streams.
class XByteQueue
{
public:
    USize64 GetCount() const { return itsEnd - itsBegin; }
    const std::uint8_t* GetData() const { return itsBytes.get() + itsBegin; }

    /// Room for `inCount` bytes behind the last one, valid until the next call. `Commit` tells how many came.
    std::uint8_t* MakeRoom( USize64 inCount );
    void Commit( USize64 inCount ) { itsEnd += inCount; }

    /// Moves the first bytes out, as many as are wanted and there; returns how many.
    USize64 Take( std::uint8_t* outBytes, USize64 inCount );

    /// Forgets the first bytes, of which there are as many.
    void Drop( USize64 inCount ) { itsBegin += inCount; }

    /// Puts bytes before the first one.
    void PutBack( const std::uint8_t* inBytes, USize64 inCount );

private:
    void Move( USize64 inBegin, USize64 inCapacity );

    std::unique_ptr<std::uint8_t[]> itsBytes;
    USize64 itsCapacity = 0;
    USize64 itsBegin = 0;
    USize64 itsEnd = 0;
};
