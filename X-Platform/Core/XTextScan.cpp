#include "Core/XTextScan.h"

#include <bit>
#include <cstring>

#if defined( __x86_64__ )
    #include <immintrin.h>
    #define KORVALE_AVX2 __attribute__( ( target( "avx2" ) ) )
#endif

namespace
{
/// Two needles are the same to a search when these say so about all their characters.
struct XExact
{
    static bool Equal( const char* inFirst, const char* inSecond, USize64 inCount )
    {
        return std::memcmp( inFirst, inSecond, inCount ) == 0;
    }
    static constexpr bool kIsCaseless = false;
};

struct XCaseless
{
    static bool Equal( const char* inFirst, const char* inSecond, USize64 inCount )
    {
        return XTextScan::EqualCaseless( inFirst, inSecond, inCount );
    }
    static constexpr bool kIsCaseless = true;
};

bool EqualCaselessPortably( const char* inFirst, const char* inSecond, USize64 inCount )
{
    for ( USize64 i = 0; i < inCount; ++i )
        if ( XTextScan::ToUpper( inFirst[i] ) != XTextScan::ToUpper( inSecond[i] ) )
            return false;
    return true;
}

/// The index among the positions [inFrom, inTo) at which the needle begins, or -1.
template<class XRule>
SSize64 FindPortably( const char* inText, USize64 inFrom, USize64 inTo, std::string_view inNeedle )
{
    for ( USize64 i = inFrom; i < inTo; ++i )
        if ( XRule::Equal( inText + i, inNeedle.data(), inNeedle.size() ) )
            return static_cast<SSize64>( i );
    return -1;
}

#if defined( __x86_64__ )
constexpr USize64 kBlock = 32;

bool HasAVX2()
{
    return __builtin_cpu_supports( "avx2" );
}

KORVALE_AVX2 __m256i LoadBlock( const char* inText )
{
    return _mm256_loadu_si256( reinterpret_cast<const __m256i*>( inText ) );
}

/// One character of the needle, in both its cases where that matters, for comparing with 32 characters at once.
template<class XRule>
struct XCharacterBlock
{
    __m256i itsUpper;
    __m256i itsLower;

    KORVALE_AVX2 explicit XCharacterBlock( char inCharacter )
        : itsUpper( _mm256_set1_epi8( XTextScan::ToUpper( inCharacter ) ) ),
          itsLower( _mm256_set1_epi8( XTextScan::ToLower( inCharacter ) ) )
    {
        if ( !XRule::kIsCaseless )
            itsUpper = _mm256_set1_epi8( inCharacter );
    }

    KORVALE_AVX2 __m256i Matches( const char* inText ) const
    {
        const __m256i block = LoadBlock( inText );
        const __m256i isUpper = _mm256_cmpeq_epi8( block, itsUpper );
        return XRule::kIsCaseless ? _mm256_or_si256( isUpper, _mm256_cmpeq_epi8( block, itsLower ) )
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
    const __m256i allowed = _mm256_and_si256( isLetter, caseBit );
    const __m256i isSame =
        _mm256_cmpeq_epi8( _mm256_andnot_si256( allowed, difference ), _mm256_setzero_si256() );
    return ~static_cast<std::uint32_t>( _mm256_movemask_epi8( isSame ) );
}

/// For at least 32 characters; the last block overlaps the one before it.
KORVALE_AVX2 bool EqualCaselessByBlocks( const char* inFirst, const char* inSecond, USize64 inCount )
{
    for ( USize64 i = 0; i + kBlock < inCount; i += kBlock )
        if ( DiffersByMoreThanCase( LoadBlock( inFirst + i ), LoadBlock( inSecond + i ) ) != 0 )
            return false;
    const USize64 last = inCount - kBlock;
    return DiffersByMoreThanCase( LoadBlock( inFirst + last ), LoadBlock( inSecond + last ) ) == 0;
}

/// Compares the first and the last character of the needle with 32 positions at once, and the rest where both fit.
template<class XRule>
KORVALE_AVX2 SSize64 FindByBlocks( const char* inText, USize64 inPositions, std::string_view inNeedle )
{
    const XCharacterBlock<XRule> first( inNeedle.front() );
    const XCharacterBlock<XRule> last( inNeedle.back() );
    const USize64 lastOffset = inNeedle.size() - 1;
    USize64 i = 0;
    for ( ; i + kBlock <= inPositions; i += kBlock )
    {
        const char* const block = inText + i;
        const __m256i isBoth = _mm256_and_si256( first.Matches( block ), last.Matches( block + lastOffset ) );
        auto candidates = static_cast<std::uint32_t>( _mm256_movemask_epi8( isBoth ) );
        for ( ; candidates != 0; candidates &= candidates - 1 )
        {
            const int bit = std::countr_zero( candidates );
            if ( XRule::Equal( block + bit, inNeedle.data(), inNeedle.size() ) )
                return static_cast<SSize64>( i ) + bit;
        }
    }
    return FindPortably<XRule>( inText, i, inPositions, inNeedle );
}
#endif

template<class XRule>
SSize64 FindByRule( std::string_view inText, std::string_view inNeedle )
{
    if ( inNeedle.size() > inText.size() )
        return -1;
    const USize64 positions = inText.size() - inNeedle.size() + 1;
#if defined( __x86_64__ )
    if ( HasAVX2() )
        return FindByBlocks<XRule>( inText.data(), positions, inNeedle );
#endif
    return FindPortably<XRule>( inText.data(), 0, positions, inNeedle );
}
} // namespace

SSize64 XTextScan::Find( std::string_view inText, std::string_view inNeedle )
{
    return FindByRule<XExact>( inText, inNeedle );
}

SSize64 XTextScan::FindCaseless( std::string_view inText, std::string_view inNeedle )
{
    return FindByRule<XCaseless>( inText, inNeedle );
}

bool XTextScan::EqualCaseless( const char* inFirst, const char* inSecond, USize64 inCount )
{
#if defined( __x86_64__ )
    if ( inCount >= kBlock && HasAVX2() )
        return EqualCaselessByBlocks( inFirst, inSecond, inCount );
#endif
    return EqualCaselessPortably( inFirst, inSecond, inCount );
}
