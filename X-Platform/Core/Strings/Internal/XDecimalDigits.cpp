#include "Core/Strings/Internal/XDecimalDigits.h"

#include <array>
#include <bit>
#include <cstring>

namespace
{
constexpr auto kPowersOfTen = []
{
    std::array<std::uint64_t, XDecimalDigits::kMaxPower + 1> powers{ 1 };
    for ( unsigned i = 1; i < powers.size(); ++i )
        powers[i] = powers[i - 1] * 10;
    return powers;
}();

constexpr auto kDigitPairs = []
{
    std::array<char, 200> pairs{};
    for ( unsigned i = 0; i < 100; ++i )
    {
        pairs[2 * i] = static_cast<char>( '0' + i / 10 );
        pairs[2 * i + 1] = static_cast<char>( '0' + i % 10 );
    }
    return pairs;
}();

/// For 64-bit and, faster, for 32-bit numbers.
template<class T>
void WriteBackwards( char* inEnd, T inNumber, unsigned inCount )
{
    // Two digits for each division, from a table of pairs.
    for ( ; inCount >= 2; inCount -= 2, inNumber /= 100 )
        std::memcpy( inEnd -= 2, &kDigitPairs[2 * ( inNumber % 100 )], 2 );
    if ( inCount != 0 )
        *--inEnd = static_cast<char>( '0' + inNumber % 10 );
}
} // namespace

std::uint64_t XDecimalDigits::GetPowerOfTen( unsigned inPower )
{
    return kPowersOfTen[inPower];
}

unsigned XDecimalDigits::Count( std::uint64_t inNumber )
{
    // 1233 / 4096 is a little more than the logarithm of 2 to the base 10.
    const auto estimate = static_cast<unsigned>( std::bit_width( inNumber | 1 ) * 1233 ) >> 12;
    return estimate + ( ( inNumber | 1 ) >= kPowersOfTen[estimate] );
}

void XDecimalDigits::Write( char* outDigits, std::uint64_t inNumber, unsigned inCount )
{
    if ( inNumber <= ~std::uint32_t( 0 ) )
        WriteBackwards( outDigits + inCount, static_cast<std::uint32_t>( inNumber ), inCount );
    else
        WriteBackwards( outDigits + inCount, inNumber, inCount );
}
