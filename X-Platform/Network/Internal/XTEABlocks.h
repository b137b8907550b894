#pragma once

#include "Ground/XTypes.h"

/// The Tiny Encryption Algorithm on independent blocks of 8 bytes, several at a time with the widest vectors
/// that the processor supports. Internal to XEncryption.
class XTEABlocks
{
public:
    /// The key is 16 bytes.
    explicit XTEABlocks( const char* inKey );

    /// Lengths are multiples of 8.
    void Encrypt( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength ) const;
    void Decrypt( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength ) const;

private:
    std::uint32_t itsKey[4];
};
