#pragma once

#include "Ground/XTypes.h"

#include <optional>
#include <string_view>

/// Reads a number from the start of a text like the scan conversions of the C library: leading white space
/// and a sign are accepted, and anything after the longest number is ignored.
class XNumberReader
{
public:
    /// An integer before conversion to its type.
    struct XInteger
    {
        std::uint64_t magnitude;
        bool isNegative;
        bool isTooLarge; ///< the magnitude does not fit in 64 bits

        /// The nearest value in range.
        std::int64_t ToSigned() const;

        /// The largest value if the magnitude is too large; the two's complement of negative numbers.
        std::uint64_t ToUnsigned() const;
    };

    /// `inBase` is 10 or 16; "0x" may precede hexadecimal digits.
    static std::optional<XInteger> ReadInteger( std::string_view inText, unsigned inBase );

    /// Decimal and hexadecimal floats, "inf", "infinity", "nan". Too large a number is an infinity, too small
    /// a one 0.
    static std::optional<double> ReadFloat( std::string_view inText, char inDecimalPoint );
};
