#pragma once

#include "Ground/XTypes.h"
#include "WPlatform.h"

/// The ciphers of network streams and some encodings of bytes as letters. The ciphers separate deployments;
/// they do not protect against eavesdroppers.
///
/// Keys are 16 bytes. Input and output are identical or do not overlap; they need not be aligned.
/// Threads: any thread; a key state is used by one thread at a time.
class KORVALE_API XEncryption
{
public:
    static constexpr USize kKeySize = 16;

    /// The position in the key stream of one direction. Can be copied as plain bytes.
    class KORVALE_API XRC4KeyState
    {
    public:
        /// Starts at the beginning of the key stream.
        explicit XRC4KeyState( const char* key );

    private:
        friend class XEncryption;

        std::uint8_t itsPermutation[256];
        std::uint8_t itsI = 0;
        std::uint8_t itsJ = 0;
    };

    XEncryption() = delete;

    /// Tiny Encryption Algorithm, 32 rounds, on independent blocks of 8 bytes: two words in the machine's
    /// byte order. The key's words are big-endian. A length that is not a multiple of 8 is an internal error,
    /// "length % 8 == 0".
    static void EncryptTEA( const void* in, void* out, USize length, const char* key );
    static void DecryptTEA( const void* in, void* out, USize length, const char* key );

    /// RC4; encryption and decryption are identical. Continues from `state` and advances it, ignoring the
    /// key; without a state starts at the beginning of the key stream.
    static void EncryptRC4( const void* in, void* out, USize length, const char* key, XRC4KeyState* state );
    static void DecryptRC4( const void* in, void* out, USize length, const char* key, XRC4KeyState* state );

    /// `n` rounded up to a multiple of 8.
    static constexpr USize GetMultipleOf8( USize n ) { return ( n + 7 ) / 8 * 8; }

    /// Writes two letters for each of `n` bytes: 'A' plus the low half, then 'A' plus the high half. No NUL.
    static void AsciiEncode( const void* in, char* out, USize n );

    /// Decodes `n` bytes of output.
    static void AsciiDecode( const char* in, void* out, USize n );

    /// A letter from 'A' to 'K' that depends on the bytes and their positions; 'A' if there are none.
    static char CheckSum( const void* in, USize n );
};
