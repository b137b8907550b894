#pragma once

#include <cstdint>

/// An odd factor of irregular bits, 2^64 over the golden ratio: the high bits of a product with it depend on all bits of
/// the other factor (D. Knuth, The Art of Computer Programming, 6.4). Internal.
constexpr std::uint64_t kXHashFactor = 0x9E3779B97F4A7C15;

/// Folds both halves of the 128-bit product into one word, so that every bit of either factor also affects
/// the low bits.
inline std::uint64_t XMixProduct( std::uint64_t inLeft, std::uint64_t inRight )
{
    __extension__ using XProduct = unsigned __int128;
    const XProduct product = static_cast<XProduct>( inLeft ) * inRight;
    return static_cast<std::uint64_t>( product ) ^ static_cast<std::uint64_t>( product >> 64 );
}
