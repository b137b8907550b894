#pragma once

#include "Images/WTIFFUnpacker.h"

/// Unpacks zlib streams (RFC 1950).
class WDeflateUnpacker : public WTIFFUnpacker
{
public:
    explicit WDeflateUnpacker( WTIFFPackedBytes inPacked );
    ~WDeflateUnpacker() override;

    void Unpack( std::byte* outBytes, std::size_t inCount ) override;
    void Finish( std::uint64_t inUnused ) override;

private:
    class Inflater;
    std::unique_ptr<Inflater> itsInflater;
    bool itsHasEnded = false; // the checksum has been verified

    void Reset() override;
    std::size_t UnpackSome( std::byte* outBytes, std::size_t inCount );
};
