#include "Network/Internal/XTEABlocks.h"

#include <cstring>

// The rounds of one block depend on each other, so the speed comes from processing many blocks in parallel.
// The compiler splits the vector type into narrower instructions if the processor has no wide ones.
//
// TEA (D. Wheeler and R. Needham, 1994): 32 double rounds on blocks of two 32-bit words. The blocks are
// independent (electronic code book), so 16 blocks are processed at a time: their first words lie in two
// vectors, their second words in two others, and each step of a round is one operation per vector. Separate
// and Join change between the order of the bytes and that of the vectors; the order of blocks within the
// vectors does not matter as long as the two agree.
//
// The words of blocks have the byte order of the processor, those of the key are big-endian; streams of the
// other order swap the words of blocks before and after (XEncryptedNetStream::CodeTEA).

namespace
{

using Words = std::uint32_t __attribute__( ( vector_size( 32 ) ) );

constexpr std::uint32_t kDelta = 0x9E3779B9;
constexpr unsigned kRounds = 32;
constexpr std::uint32_t kLastSum = kDelta * kRounds;

using Key = const std::uint32_t ( & )[4];
using Coder = USize ( * )( const std::uint8_t*, std::uint8_t*, USize, Key );

struct Encryption
{
    template<class T>
    [[gnu::always_inline]] static void Rounds( T& y, T& z, Key k )
    {
        std::uint32_t sum = 0;
        for ( unsigned round = 0; round < kRounds; ++round )
        {
            sum += kDelta;
            y += ( ( z << 4 ) + k[0] ) ^ ( z + sum ) ^ ( ( z >> 5 ) + k[1] );
            z += ( ( y << 4 ) + k[2] ) ^ ( y + sum ) ^ ( ( y >> 5 ) + k[3] );
        }
    }
};

struct Decryption
{
    template<class T>
    [[gnu::always_inline]] static void Rounds( T& y, T& z, Key k )
    {
        std::uint32_t sum = kLastSum;
        for ( unsigned round = 0; round < kRounds; ++round )
        {
            z -= ( ( y << 4 ) + k[2] ) ^ ( y + sum ) ^ ( ( y >> 5 ) + k[3] );
            y -= ( ( z << 4 ) + k[0] ) ^ ( z + sum ) ^ ( ( z >> 5 ) + k[1] );
            sum -= kDelta;
        }
    }
};

/// Two vectors of words that are done side by side, since one alone would wait for its own results.
struct WordPair
{
    Words first;
    Words second;

    [[gnu::always_inline]] friend WordPair operator<<( const WordPair& a, unsigned n )
    {
        return { a.first << n, a.second << n };
    }
    [[gnu::always_inline]] friend WordPair operator>>( const WordPair& a, unsigned n )
    {
        return { a.first >> n, a.second >> n };
    }
    [[gnu::always_inline]] friend WordPair operator+( const WordPair& a, std::uint32_t n )
    {
        return { a.first + n, a.second + n };
    }
    [[gnu::always_inline]] friend WordPair operator^( const WordPair& a, const WordPair& b )
    {
        return { a.first ^ b.first, a.second ^ b.second };
    }
    [[gnu::always_inline]] WordPair& operator+=( const WordPair& a )
    {
        first += a.first;
        second += a.second;
        return *this;
    }
    [[gnu::always_inline]] WordPair& operator-=( const WordPair& a )
    {
        first -= a.first;
        second -= a.second;
        return *this;
    }
};

/// Separates the first words of the blocks in two vectors from the second ones, and puts them together again.
[[gnu::always_inline]] inline void Separate( const std::uint8_t* inBytes, Words& outY, Words& outZ )
{
    Words low, high;
    std::memcpy( &low, inBytes, sizeof( Words ) );
    std::memcpy( &high, inBytes + sizeof( Words ), sizeof( Words ) );
    outY = __builtin_shufflevector( low, high, 0, 2, 8, 10, 4, 6, 12, 14 );
    outZ = __builtin_shufflevector( low, high, 1, 3, 9, 11, 5, 7, 13, 15 );
}

[[gnu::always_inline]] inline void Join( const Words& inY, const Words& inZ, std::uint8_t* outBytes )
{
    const Words low = __builtin_shufflevector( inY, inZ, 0, 8, 1, 9, 4, 12, 5, 13 );
    const Words high = __builtin_shufflevector( inY, inZ, 2, 10, 3, 11, 6, 14, 7, 15 );
    std::memcpy( outBytes, &low, sizeof( Words ) );
    std::memcpy( outBytes + sizeof( Words ), &high, sizeof( Words ) );
}

constexpr USize kVectorBytes = 4 * sizeof( Words );

/// Does as many whole steps as there are and returns the bytes done.
template<class TDirection>
[[gnu::always_inline]] inline USize
CodeSteps( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength, Key inKey )
{
    USize done = 0;
    for ( ; inLength - done >= kVectorBytes; done += kVectorBytes )
    {
        WordPair y, z;
        Separate( inBytes + done, y.first, z.first );
        Separate( inBytes + done + kVectorBytes / 2, y.second, z.second );
        TDirection::Rounds( y, z, inKey );
        Join( y.first, z.first, outBytes + done );
        Join( y.second, z.second, outBytes + done + kVectorBytes / 2 );
    }
    return done;
}

template<class TDirection>
USize CodePlainly( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength, Key inKey )
{
    return CodeSteps<TDirection>( inBytes, outBytes, inLength, inKey );
}

#if defined( __x86_64__ )
template<class TDirection>
__attribute__( ( target( "avx2" ) ) ) USize
CodeAVX2( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength, Key inKey )
{
    return CodeSteps<TDirection>( inBytes, outBytes, inLength, inKey );
}
#endif

template<class TDirection>
Coder ChooseCoder()
{
#if defined( __x86_64__ )
    __builtin_cpu_init();
    if ( __builtin_cpu_supports( "avx2" ) )
        return CodeAVX2<TDirection>;
#endif
    return CodePlainly<TDirection>;
}

template<class TDirection>
void Code( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength, Key inKey )
{
    static const Coder sCodeSteps = ChooseCoder<TDirection>();
    for ( USize done = sCodeSteps( inBytes, outBytes, inLength, inKey ); done < inLength; done += 8 )
    {
        std::uint32_t block[2];
        std::memcpy( block, inBytes + done, sizeof block );
        TDirection::Rounds( block[0], block[1], inKey );
        std::memcpy( outBytes + done, block, sizeof block );
    }
}

} // namespace

XTEABlocks::XTEABlocks( const char* inKey )
{
    const auto* bytes = reinterpret_cast<const std::uint8_t*>( inKey );
    for ( std::uint32_t& word : itsKey )
    {
        word = std::uint32_t( bytes[0] ) << 24 | std::uint32_t( bytes[1] ) << 16 |
            std::uint32_t( bytes[2] ) << 8 | bytes[3];
        bytes += sizeof( word );
    }
}

void XTEABlocks::Encrypt( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength ) const
{
    Code<Encryption>( inBytes, outBytes, inLength, itsKey );
}

void XTEABlocks::Decrypt( const std::uint8_t* inBytes, std::uint8_t* outBytes, USize inLength ) const
{
    Code<Decryption>( inBytes, outBytes, inLength, itsKey );
}
