#pragma once

#include "Images/WTIFFUnpacker.h"

/// Unpacks PackBits: runs of equal bytes and sequences of literal bytes.
class WPackBitsUnpacker : public WTIFFUnpacker
{
public:
    explicit WPackBitsUnpacker( WTIFFPackedBytes inPacked ) : WTIFFUnpacker( std::move( inPacked ) ) {}

    void Unpack( std::byte* outBytes, std::size_t inCount ) override;

private:
    std::size_t itsLiterals = 0; // remaining literal bytes of a sequence
    std::size_t itsRepeats = 0;  // remaining bytes of a run
    std::uint8_t itsRepeated = 0;

    void Reset() override;
    std::size_t UnpackWhole( std::byte* outBytes, std::size_t inCount );
    std::size_t UnpackRest( std::byte* outBytes, std::size_t inCount );
    void TakeHeader();
};
