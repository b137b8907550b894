#pragma once

#include "Ground/XTypes.h"

/// Identity and revision of a stored class in 32 bits: the class number in the low half, the revision of its stored
/// layout in the high half. A plain value; in a stream it is one unsigned 32-bit number in the stream's byte order.
class XVersion
{
public:
    constexpr XVersion( std::uint32_t inRaw = 0 ) : itsRaw( inRaw ) {}

    /// Takes the low 16 bits of `inClassID`.
    constexpr XVersion( std::uint32_t inClassID, std::uint32_t inRevision )
        : itsRaw( ( inClassID & 0xFFFFu ) | ( inRevision << 16 ) )
    {
    }

    constexpr operator std::uint32_t() const { return itsRaw; }

    constexpr std::uint32_t GetClassID() const { return itsRaw & 0xFFFFu; }
    constexpr std::uint32_t GetClassRevision() const { return itsRaw >> 16; }

private:
    std::uint32_t itsRaw;
};
