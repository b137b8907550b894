#pragma once

#include "Ground/XTypes.h"
#include "WPlatform.h"

/// The ciphers of network streams and a few encodings of bytes as letters. The ciphers keep deployments apart; they do
/// not protect against an eavesdropper.
///
/// Keys are 16 bytes. Input and output are the same place, or do not overlap; neither need be aligned.
/// Threads: any thread; a key state belongs to one thread at a time.
class KORVALE_API XEncryption
{
public:
    static constexpr USize kKeySize = 16;

    /// How far the key stream of one direction has come. Copied as plain bytes.
    class KORVALE_API XRC4KeyState
    {
    public:
        /// At the beginning of the key stream.
        explicit XRC4KeyState( const char* key );

    private:
        friend class XEncryption;

        std::uint8_t itsPermutation[256];
        std::uint8_t itsI = 0;
        std::uint8_t itsJ = 0;
    };

    XEncryption() = delete;

    /// Tiny Encryption Algorithm, 32 rounds, each block of 8 bytes by itself: two words as they lie in memory. The key's
    /// words are big-endian. A length that is no multiple of 8 is an internal error, "length % 8 == 0".
    static void EncryptTEA( const void* in, void* out, USize length, const char* key );
    static void DecryptTEA( const void* in, void* out, USize length, const char* key );

    /// RC4, which is its own inverse. Goes on with `state` and advances it; without one it begins at the beginning of the
    /// key's stream. With a state the key is not looked at.
    static void EncryptRC4( const void* in, void* out, USize length, const char* key, XRC4KeyState* state );
    static void DecryptRC4( const void* in, void* out, USize length, const char* key, XRC4KeyState* state );

    /// `n` rounded up.
    static constexpr USize GetMultipleOf8( USize n ) { return ( n + 7 ) / 8 * 8; }

    /// Writes two letters for each of `n` bytes: 'A' plus the low half, 'A' plus the high half. No NUL.
    static void AsciiEncode( const void* in, char* out, USize n );

    /// The inverse, for `n` bytes of output.
    static void AsciiDecode( const char* in, void* out, USize n );

    /// A letter from 'A' to 'K' that depends on the bytes and their places; 'A' for none.
    static char CheckSum( const void* in, USize n );
};
