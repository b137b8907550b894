#include "Network/XEncryption.h"

#include "Ground/XFail.h"
#include "Network/Internal/XRC4Generator.h"
#include "Network/Internal/XTEABlocks.h"

#include <utility>

// ---- TEA

void XEncryption::EncryptTEA( const void* in, void* out, USize length, const char* key )
{
    XAssert( length % 8 == 0 );
    XTEABlocks( key ).Encrypt(
        static_cast<const std::uint8_t*>( in ), static_cast<std::uint8_t*>( out ), length );
}

void XEncryption::DecryptTEA( const void* in, void* out, USize length, const char* key )
{
    XAssert( length % 8 == 0 );
    XTEABlocks( key ).Decrypt(
        static_cast<const std::uint8_t*>( in ), static_cast<std::uint8_t*>( out ), length );
}

// ---- RC4

XEncryption::XRC4KeyState::XRC4KeyState( const char* key )
{
    for ( unsigned i = 0; i < 256; ++i )
        itsPermutation[i] = static_cast<std::uint8_t>( i );
    std::uint8_t j = 0;
    for ( unsigned i = 0; i < 256; ++i )
    {
        j = static_cast<std::uint8_t>(
            j + itsPermutation[i] + static_cast<std::uint8_t>( key[i % kKeySize] ) );
        std::swap( itsPermutation[i], itsPermutation[j] );
    }
}

void XEncryption::EncryptRC4( const void* in, void* out, USize length, const char* key, XRC4KeyState* state )
{
    if ( !state )
    {
        XRC4KeyState beginning( key );
        return EncryptRC4( in, out, length, key, &beginning );
    }
    XRC4Generator generator( state->itsPermutation, state->itsI, state->itsJ );
    generator.Mix( static_cast<const std::uint8_t*>( in ), static_cast<std::uint8_t*>( out ), length );
}

void XEncryption::DecryptRC4( const void* in, void* out, USize length, const char* key, XRC4KeyState* state )
{
    EncryptRC4( in, out, length, key, state );
}

// ---- Letters

void XEncryption::AsciiEncode( const void* in, char* out, USize n )
{
    const auto* bytes = static_cast<const std::uint8_t*>( in );
    for ( USize i = 0; i < n; ++i )
    {
        *out++ = static_cast<char>( 'A' + ( bytes[i] & 0xF ) );
        *out++ = static_cast<char>( 'A' + ( bytes[i] >> 4 ) );
    }
}

void XEncryption::AsciiDecode( const char* in, void* out, USize n )
{
    auto* bytes = static_cast<std::uint8_t*>( out );
    for ( USize i = 0; i < n; ++i )
        bytes[i] = static_cast<std::uint8_t>( ( in[2 * i] - 'A' ) + ( ( in[2 * i + 1] - 'A' ) << 4 ) );
}

char XEncryption::CheckSum( const void* in, USize n )
{
    const auto* bytes = static_cast<const std::int8_t*>( in );
    std::uint64_t sum = 0;
    for ( std::uint64_t k = n; k-- > 0; )
        sum = ( static_cast<std::uint64_t>( std::int64_t( bytes[k] ) ) * k + sum ) % 11;
    return static_cast<char>( 'A' + sum );
}
