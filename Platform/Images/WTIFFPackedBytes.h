#pragma once

#include "Files/WFile.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/// The stored bytes of one strip or tile, read from the file in pieces, so that their number costs no memory. Keeps a
/// reference to the file. Failures throw WImageError or WLastErrorException.
class WTIFFPackedBytes
{
public:
    /// With `inIsReversed`, the lowest bit of each stored byte comes first; the bytes are given the other way round.
    WTIFFPackedBytes( const WFile& inFile, bool inIsReversed );

    /// Begins with the bytes at that place of the file. That the file is shorter is an error, WImageError, for who comes
    /// to its end.
    void Start( std::uint64_t inPosition, std::uint64_t inCount );

    /// The bytes at hand: read and not skipped yet.
    const std::uint8_t* GetBytes() const { return itsBytes.get() + itsFirst; }
    std::size_t GetCount() const { return itsEnd - itsFirst; }

    void Skip( std::size_t inCount ) { itsFirst += inCount; }

    /// Adds further bytes to those at hand, which move. False when there are none left.
    bool ReadMore();

    /// Takes the next bytes without keeping any. False when fewer are left.
    bool Take( std::byte* outBytes, std::size_t inCount );

private:
    const WFile& itsFile;
    const std::uint64_t itsFileSize; ///< Asked for once: blocks may be many and small.
    const bool itsIsReversed;
    std::uint64_t itsPosition = 0; ///< Of the next byte to read from the file.
    std::uint64_t itsUnread = 0;
    std::unique_ptr<std::uint8_t[]> itsBytes;
    std::size_t itsFirst = 0;
    std::size_t itsEnd = 0;

    void ReadFromFile( std::uint8_t* outBytes, std::size_t inCount );
};
