#pragma once

#include "Ground/XTypes.h"

/// Decimal digits of unsigned integers, written into memory provided by the caller.
class XDecimalDigits
{
public:
    static constexpr unsigned kMaxPower = 19; ///< 10^19 is the last power of ten in 64 bits

    static std::uint64_t GetPowerOfTen( unsigned inPower );

    /// The number of digits of a number; 1 for 0.
    static unsigned Count( std::uint64_t inNumber );

    /// Writes exactly `inCount` digits, padded with leading zeros.
    static void Write( char* outDigits, std::uint64_t inNumber, unsigned inCount );
};
