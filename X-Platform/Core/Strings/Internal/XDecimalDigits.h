#pragma once

#include "Ground/XTypes.h"

/// Decimal digits of unsigned integers, written where the caller has made room for them.
class XDecimalDigits
{
public:
    static constexpr unsigned kMaxPower = 19; ///< 10^19 is the last power of ten in 64 bits.

    static std::uint64_t GetPowerOfTen( unsigned inPower );

    /// How many digits the number has; 1 for 0.
    static unsigned Count( std::uint64_t inNumber );

    /// Writes exactly `inCount` digits, with zeros in front where the number has fewer.
    static void Write( char* outDigits, std::uint64_t inNumber, unsigned inCount );
};
