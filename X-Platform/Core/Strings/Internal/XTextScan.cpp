#include "Core/Strings/Internal/XTextScan.h"

#include "Ground/Internal/XHashMix.h"

#include <algorithm>
#include <bit>
#include <cstring>

// Substring search. The first and the last character of the needle are looked for at the right distance, with
// AVX2 in 32 positions at a time; only where both match is the whole needle compared. That is fast for usual
// texts, but quadratic for a needle such as "aab" in a text of a's. Therefore failed comparisons are counted,
// and when they have cost 16 bytes for each byte of the text, the search goes on by a rolling hash (R. Karp
// and M. Rabin), which takes constant time for each position. The hash may be beaten by a text made for it;
// matches are confirmed by comparing, so that costs time only.
//
// The rule class says how characters are compared; folding a character of the needle and one of the text by
// the same rule makes caseless search the same algorithm.

#if defined( __x86_64__ )
    #include <immintrin.h>
    #define KORVALE_AVX2 __attribute__( ( target( "avx2" ) ) )
#endif

namespace
{
/// How a search compares: byte by byte, or without case.
struct XExact
{
    static constexpr bool kIsCaseless = false;

    static char Fold( char inCharacter ) { return inCharacter; }
    static bool Equal( const char* inFirst, const char* inSecond, USize64 inCount )
    {
        return std::memcmp( inFirst, inSecond, inCount ) == 0;
    }
};

struct XCaseless
{
    static constexpr bool kIsCaseless = true;

    static char Fold( char inCharacter ) { return XTextScan::ToUpper( inCharacter ); }
    static bool Equal( const char* inFirst, const char* inSecond, USize64 inCount )
    {
        return XTextScan::EqualCaseless( inFirst, inSecond, inCount );
    }
};

bool EqualCaselessPortably( const char* inFirst, const char* inSecond, USize64 inCount )
{
    for ( USize64 i = 0; i < inCount; ++i )
        if ( XTextScan::ToUpper( inFirst[i] ) != XTextScan::ToUpper( inSecond[i] ) )
            return false;
    return true;
}

#if defined( __x86_64__ )
constexpr USize64 kScanBlock = 32;

bool HasAVX2()
{
    return __builtin_cpu_supports( "avx2" );
}

KORVALE_AVX2 __m256i LoadBlock( const char* inText )
{
    return _mm256_loadu_si256( reinterpret_cast<const __m256i*>( inText ) );
}

/// One character of the needle, in both its cases where that matters, for comparing with 32 characters at once.
template<class TRule>
struct XCharacterBlock
{
    __m256i itsUpper;
    __m256i itsLower;

    KORVALE_AVX2 explicit XCharacterBlock( char inCharacter )
        : itsUpper( _mm256_set1_epi8( XTextScan::ToUpper( inCharacter ) ) ),
          itsLower( _mm256_set1_epi8( XTextScan::ToLower( inCharacter ) ) )
    {
        if ( !TRule::kIsCaseless )
            itsUpper = _mm256_set1_epi8( inCharacter );
    }

    KORVALE_AVX2 __m256i Matches( const char* inText ) const
    {
        const __m256i block = LoadBlock( inText );
        const __m256i isUpper = _mm256_cmpeq_epi8( block, itsUpper );
        return TRule::kIsCaseless ? _mm256_or_si256( isUpper, _mm256_cmpeq_epi8( block, itsLower ) )
                                  : isUpper;
    }
};

/// A bit for each of 32 characters: set where two blocks differ by more than case.
KORVALE_AVX2 std::uint32_t DiffersByMoreThanCase( __m256i inFirst, __m256i inSecond )
{
    const __m256i caseBit = _mm256_set1_epi8( 0x20 );
    const __m256i difference = _mm256_xor_si256( inFirst, inSecond );
    const __m256i lower = _mm256_or_si256( inFirst, caseBit );
    const __m256i isLetter = _mm256_and_si256(
        _mm256_cmpgt_epi8( lower, _mm256_set1_epi8( 'a' - 1 ) ),
        _mm256_cmpgt_epi8( _mm256_set1_epi8( 'z' + 1 ), lower ) );
    // Letters of ASCII may differ in the case bit, all other bytes in none.
    const __m256i allowed = _mm256_and_si256( isLetter, caseBit );
    const __m256i isSame =
        _mm256_cmpeq_epi8( _mm256_andnot_si256( allowed, difference ), _mm256_setzero_si256() );
    return ~static_cast<std::uint32_t>( _mm256_movemask_epi8( isSame ) );
}

/// For at least 32 characters; the last block overlaps the one before it.
KORVALE_AVX2 bool EqualCaselessByBlocks( const char* inFirst, const char* inSecond, USize64 inCount )
{
    for ( USize64 i = 0; i + kScanBlock < inCount; i += kScanBlock )
        if ( DiffersByMoreThanCase( LoadBlock( inFirst + i ), LoadBlock( inSecond + i ) ) != 0 )
            return false;
    const USize64 last = inCount - kScanBlock;
    return DiffersByMoreThanCase( LoadBlock( inFirst + last ), LoadBlock( inSecond + last ) ) == 0;
}

#endif

/// One search. Positions at which the first and the last character match are compared completely; if that
/// fails too often, as in texts of few different characters, hashes are used instead, so that no text makes a
/// search slow.
template<class TRule>
class XSearch
{
public:
    XSearch( std::string_view inText, std::string_view inNeedle )
        : itsText( inText.data() ), itsPositions( inText.size() - inNeedle.size() + 1 ),
          itsNeedle( inNeedle ), itsPatience( kPatience * inText.size() )
    {
    }

    SSize64 Run()
    {
#if defined( __x86_64__ )
        if ( HasAVX2() )
            return RunByBlocks();
#endif
        return RunPortably( 0 );
    }

private:
    /// Bytes that may be compared in vain for each byte of the text.
    static constexpr USize64 kPatience = 16;

    const char* itsText;
    USize64 itsPositions;
    std::string_view itsNeedle;
    USize64 itsPatience;

    bool IsMatch( USize64 inPosition )
    {
        if ( TRule::Equal( itsText + inPosition, itsNeedle.data(), itsNeedle.size() ) )
            return true;
        itsPatience -= std::min( itsPatience, itsNeedle.size() );
        return false;
    }

    SSize64 RunPortably( USize64 inFrom )
    {
        const char first = TRule::Fold( itsNeedle.front() );
        const char last = TRule::Fold( itsNeedle.back() );
        const char* const lastText = itsText + itsNeedle.size() - 1;
        for ( USize64 i = inFrom; i < itsPositions; ++i )
        {
            if ( itsPatience == 0 )
                return RunByHash( i );
            if ( TRule::Fold( itsText[i] ) == first && TRule::Fold( lastText[i] ) == last && IsMatch( i ) )
                return static_cast<SSize64>( i );
        }
        return -1;
    }

    static std::uint64_t AddToHash( std::uint64_t inHash, char inCharacter )
    {
        return inHash * kXHashFactor + static_cast<unsigned char>( TRule::Fold( inCharacter ) );
    }

    SSize64 RunByHash( USize64 inFrom ) const
    {
        std::uint64_t wanted = 0;
        std::uint64_t hash = 0;
        std::uint64_t highest = 1; // what a character weighs when it drops out
        for ( USize64 i = 0; i < itsNeedle.size(); ++i )
        {
            wanted = AddToHash( wanted, itsNeedle[i] );
            hash = AddToHash( hash, itsText[inFrom + i] );
            highest *= kXHashFactor;
        }
        for ( USize64 i = inFrom;; ++i )
        {
            if ( hash == wanted && TRule::Equal( itsText + i, itsNeedle.data(), itsNeedle.size() ) )
                return static_cast<SSize64>( i );
            if ( i + 1 >= itsPositions )
                return -1;
            const auto dropped = static_cast<unsigned char>( TRule::Fold( itsText[i] ) );
            hash = AddToHash( hash, itsText[i + itsNeedle.size()] ) - highest * dropped;
        }
    }

#if defined( __x86_64__ )
    KORVALE_AVX2 SSize64 RunByBlocks()
    {
        const XCharacterBlock<TRule> first( itsNeedle.front() );
        const XCharacterBlock<TRule> last( itsNeedle.back() );
        const char* const lastText = itsText + itsNeedle.size() - 1;
        USize64 i = 0;
        for ( ; i + kScanBlock <= itsPositions && itsPatience > 0; i += kScanBlock )
        {
            const __m256i isBoth =
                _mm256_and_si256( first.Matches( itsText + i ), last.Matches( lastText + i ) );
            auto candidates = static_cast<std::uint32_t>( _mm256_movemask_epi8( isBoth ) );
            for ( ; candidates != 0; candidates &= candidates - 1 )
            {
                const USize64 position = i + static_cast<USize64>( std::countr_zero( candidates ) );
                if ( IsMatch( position ) )
                    return static_cast<SSize64>( position );
            }
        }
        return RunPortably( i );
    }
#endif
};
} // namespace

SSize64 XTextScan::Find( std::string_view inText, std::string_view inNeedle )
{
    return inNeedle.size() > inText.size() ? -1 : XSearch<XExact>( inText, inNeedle ).Run();
}

SSize64 XTextScan::FindCaseless( std::string_view inText, std::string_view inNeedle )
{
    return inNeedle.size() > inText.size() ? -1 : XSearch<XCaseless>( inText, inNeedle ).Run();
}

bool XTextScan::EqualCaseless( const char* inFirst, const char* inSecond, USize64 inCount )
{
#if defined( __x86_64__ )
    if ( inCount >= kScanBlock && HasAVX2() )
        return EqualCaselessByBlocks( inFirst, inSecond, inCount );
#endif
    return EqualCaselessPortably( inFirst, inSecond, inCount );
}
