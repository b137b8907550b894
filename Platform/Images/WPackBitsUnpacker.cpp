#include "Images/WPackBitsUnpacker.h"

#include <algorithm>
#include <cstring>

// PackBits: runs of one byte and stretches of literal bytes, each behind a header byte. The fast loop handles
// items whole, which is possible while there is room for the longest item on both sides; the slow way takes
// an item apart by its remaining counts (itsLiterals, itsRepeats), so that unpacking may stop anywhere within
// it.

void WPackBitsUnpacker::Reset()
{
    itsLiterals = itsRepeats = 0;
}

void WPackBitsUnpacker::Unpack( std::byte* outBytes, std::size_t inCount )
{
    while ( inCount > 0 )
    {
        const auto unpacked = itsLiterals + itsRepeats == 0 ? UnpackWhole( outBytes, inCount )
                                                            : UnpackRest( outBytes, inCount );
        outBytes += unpacked;
        inCount -= unpacked;
    }
}

/// Unpacks runs and stretches that are at hand and have room, and reads the header of the first that has none.
std::size_t WPackBitsUnpacker::UnpackWhole( std::byte* outBytes, std::size_t inCount )
{
    constexpr std::size_t kNothing = 128, kLongest = 128;
    if ( itsPacked.GetCount() <= kLongest )
        itsPacked.ReadMore();
    const auto* bytes = itsPacked.GetBytes();
    const auto* const end = bytes + itsPacked.GetCount();
    auto* out = outBytes;
    while ( inCount - static_cast<std::size_t>( out - outBytes ) >= kLongest &&
            static_cast<std::size_t>( end - bytes ) > kLongest )
    {
        const std::size_t header = *bytes++;
        if ( header < kNothing )
        {
            std::memcpy( out, bytes, header + 1 );
            bytes += header + 1;
            out += header + 1;
        }
        else if ( header > kNothing )
        {
            std::memset( out, *bytes++, 257 - header );
            out += 257 - header;
        }
    }
    itsPacked.Skip( itsPacked.GetCount() - static_cast<std::size_t>( end - bytes ) );
    if ( out == outBytes )
        TakeHeader();
    return static_cast<std::size_t>( out - outBytes );
}

std::size_t WPackBitsUnpacker::UnpackRest( std::byte* outBytes, std::size_t inCount )
{
    const auto literals = std::min( itsLiterals, inCount );
    if ( literals > 0 && !itsPacked.Take( outBytes, literals ) )
        RefuseTooShort();
    const auto repeats = std::min( itsRepeats, inCount - literals );
    std::memset( outBytes + literals, itsRepeated, repeats );
    itsLiterals -= literals;
    itsRepeats -= repeats;
    return literals + repeats;
}

/// From 0 to 127 it announces one more bytes as they are than it says, from 129 a run of 257 less itself; 128 is nothing.
void WPackBitsUnpacker::TakeHeader()
{
    constexpr unsigned kNothing = 128;
    if ( itsPacked.GetCount() < 2 && !itsPacked.ReadMore() && itsPacked.GetCount() < 2 )
        RefuseTooShort();
    const auto* const bytes = itsPacked.GetBytes();
    if ( bytes[0] < kNothing )
        itsLiterals = bytes[0] + 1u;
    if ( bytes[0] > kNothing )
    {
        itsRepeats = 257u - bytes[0];
        itsRepeated = bytes[1];
    }
    itsPacked.Skip( bytes[0] > kNothing ? 2 : 1 );
}
