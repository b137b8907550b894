#pragma once

#include "Ground/XTypes.h"

/// A colour of four bytes, kept and stored in the order alpha, red, green, blue whatever the byte order of
/// the stream.
class XARGB32Colour
{
public:
    constexpr XARGB32Colour() = default; ///< opaque black

    constexpr XARGB32Colour(
        std::uint8_t inAlpha, std::uint8_t inRed, std::uint8_t inGreen, std::uint8_t inBlue )
        : itsBytes{ inAlpha, inRed, inGreen, inBlue }
    {
    }

    constexpr std::uint8_t GetAlpha() const { return itsBytes[0]; }
    constexpr std::uint8_t GetRed() const { return itsBytes[1]; }
    constexpr std::uint8_t GetGreen() const { return itsBytes[2]; }
    constexpr std::uint8_t GetBlue() const { return itsBytes[3]; }

    /// The four bytes as they are stored.
    constexpr const std::uint8_t* GetBytes() const { return itsBytes; }

    friend constexpr bool operator==( const XARGB32Colour&, const XARGB32Colour& ) = default;

private:
    std::uint8_t itsBytes[4] = { 0xFF, 0, 0, 0 };
};
