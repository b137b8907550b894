#include "Images/WTIFFPackedBytes.h"

#include "Images/WImageFile.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace
{
constexpr std::size_t kBufferSize = 256 * 1024;

constexpr std::array<std::uint8_t, 256> MakeReversedBytes()
{
    std::array<std::uint8_t, 256> reversed{};
    for ( unsigned byte = 0; byte < 256; ++byte )
        for ( unsigned bit = 0; bit < 8; ++bit )
            if ( byte >> bit & 1 )
                reversed[byte] = static_cast<std::uint8_t>( reversed[byte] | 0x80 >> bit );
    return reversed;
}

constexpr auto kReversedBytes = MakeReversedBytes();

[[noreturn]] void RefuseMissing( std::uint64_t inPosition, std::uint64_t inCount )
{
    throw WImageError(
        "it is cut off: " + std::to_string( inCount ) + " bytes of samples are missing at offset " +
        std::to_string( inPosition ) );
}
} // namespace

WTIFFPackedBytes::WTIFFPackedBytes( const WFile& inFile, bool inIsReversed )
    : itsFile( inFile ), itsFileSize( inFile.GetSize() ), itsIsReversed( inIsReversed )
{
}

void WTIFFPackedBytes::Start( std::uint64_t inPosition, std::uint64_t inCount )
{
    itsPosition = inPosition;
    itsUnread = inCount;
    itsFirst = itsEnd = 0;
}

bool WTIFFPackedBytes::ReadMore()
{
    if ( !itsBytes )
        itsBytes = std::make_unique_for_overwrite<std::uint8_t[]>( kBufferSize );
    const auto buffered = GetCount();
    std::memmove( itsBytes.get(), GetBytes(), buffered );
    itsFirst = 0;
    itsEnd = buffered;
    const auto inFile = itsFileSize - std::min( itsPosition, itsFileSize );
    if ( inFile == 0 && itsUnread > 0 )
        RefuseMissing( itsPosition, itsUnread );
    const auto more =
        static_cast<std::size_t>( std::min<std::uint64_t>( { kBufferSize - buffered, itsUnread, inFile } ) );
    ReadFromFile( itsBytes.get() + buffered, more );
    itsEnd += more;
    return more > 0;
}

bool WTIFFPackedBytes::Take( std::byte* outBytes, std::size_t inCount )
{
    const auto atHand = std::min( inCount, GetCount() );
    if ( inCount - atHand > itsUnread )
        return false;
    if ( atHand > 0 )
        std::memcpy( outBytes, GetBytes(), atHand );
    Skip( atHand );
    ReadFromFile( reinterpret_cast<std::uint8_t*>( outBytes ) + atHand, inCount - atHand );
    return true;
}

void WTIFFPackedBytes::ReadFromFile( std::uint8_t* outBytes, std::size_t inCount )
{
    const auto isInFile = itsPosition <= itsFileSize && inCount <= itsFileSize - itsPosition;
    if ( !isInFile || itsFile.ReadAt( itsPosition, outBytes, inCount ) != inCount )
        RefuseMissing( itsPosition, inCount );
    if ( itsIsReversed )
        std::transform(
            outBytes, outBytes + inCount, outBytes, []( auto inByte ) { return kReversedBytes[inByte]; } );
    itsPosition += inCount;
    itsUnread -= inCount;
}
