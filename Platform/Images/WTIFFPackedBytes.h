#pragma once

#include "Files/WFile.h"

#include <cstddef>
#include <cstdint>
#include <memory>

/// The stored bytes of one strip or tile, read from the file piece by piece, so that memory does not depend
/// on their number. Keeps a reference to the file. Failures throw WImageError or WLastErrorException.
class WTIFFPackedBytes
{
public:
    /// With `inIsReversed`, the bits of each stored byte are in reverse order and are reversed on reading.
    WTIFFPackedBytes( const WFile& inFile, bool inIsReversed );

    /// Starts with the bytes at a position of the file. If the file is shorter, reading beyond its end throws
    /// WImageError.
    void Start( std::uint64_t inPosition, std::uint64_t inCount );

    /// The buffered bytes: read but not skipped yet.
    const std::uint8_t* GetBytes() const { return itsBytes.get() + itsFirst; }
    std::size_t GetCount() const { return itsEnd - itsFirst; }

    void Skip( std::size_t inCount ) { itsFirst += inCount; }

    /// Appends further bytes to the buffered ones, which move. Returns false if there are none left.
    bool ReadMore();

    /// Takes the next bytes without buffering. Returns false if fewer are left.
    bool Take( std::byte* outBytes, std::size_t inCount );

private:
    const WFile& itsFile;
    const std::uint64_t itsFileSize; // read once, because there may be many small blocks
    const bool itsIsReversed;
    std::uint64_t itsPosition = 0; // of the next byte to read from the file
    std::uint64_t itsUnread = 0;
    std::unique_ptr<std::uint8_t[]> itsBytes;
    std::size_t itsFirst = 0;
    std::size_t itsEnd = 0;

    void ReadFromFile( std::uint8_t* outBytes, std::size_t inCount );
};
