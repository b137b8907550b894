#pragma once

#include "Images/WTIFFUnpacker.h"

#include <array>

/// LZW as in TIFF: codes of 9 to 12 bits, most significant bit first, whose width increases one code early.
class WLZWUnpacker : public WTIFFUnpacker
{
public:
    explicit WLZWUnpacker( WTIFFPackedBytes inPacked );

    void Unpack( std::byte* outBytes, std::size_t inCount ) override;

private:
    static constexpr std::uint32_t kMostCodes = 4096;
    static constexpr std::size_t kPiece = 8;

    /// The text of a code: its last 1 to 8 bytes, and the code of the preceding part, whose length is a
    /// multiple of 8.
    struct Text
    {
        std::uint64_t end; // in memory order
        std::uint16_t before;
        std::uint16_t length;
        std::uint8_t first;
    };

    /// The state of reading codes.
    struct Bits
    {
        std::uint64_t bits = 0; // the next bit is the highest
        std::uint32_t count = 0;
        std::uint32_t width = 0; // of a code
    };

    std::array<Text, kMostCodes> itsTexts;
    std::array<std::byte, kMostCodes + kPiece> itsRest; // of a text that did not fit in the output
    std::size_t itsRestStart = 0;
    std::size_t itsRestEnd = 0;
    Bits itsBits;
    std::uint32_t itsNextCode = 0;
    std::uint32_t itsPrevious = 0;

    void Reset() override;
    void Clear();
    std::size_t TakeRest( std::byte* outBytes, std::size_t inCount );
    void Fill( Bits& ioBits );
    std::uint32_t TakeCode( Bits& ioBits );
    void AddText( std::uint32_t inCode );
    void CopyText( const Text& inText, std::byte* outBytes ) const;
};
