#include "Imaging/Measurements/Internal/XObjectIdentity.h"

#include "Ground/Internal/XHashMix.h"

#include <array>
#include <bit>

// Identities are derived, not drawn: measuring the same image again gives the same table, byte for byte, and
// references between two runs fit. The first pixel keeps the objects of a page apart, which may interlock and
// have all sums in common; the name and number of the image, the page, and whether the object is inside
// another one keep equal shapes apart. The hash is not meant to resist somebody who looks for collisions.

namespace
{
/// Two hashes of 64 bits side by side. Same on every system.
class IdentityHash
{
public:
    void Add( std::uint64_t inNumber )
    {
        itsHigh = Mix( itsHigh ^ inNumber );
        itsLow = Mix( itsLow + inNumber );
    }
    void Add( double inNumber ) { Add( std::bit_cast<std::uint64_t>( inNumber ) ); }
    void Add( std::string_view inText )
    {
        Add( std::uint64_t{ inText.size() } );
        for ( const auto character : inText )
            Add( std::uint64_t{ static_cast<unsigned char>( character ) } );
    }

    /// Marked as one of version 8 of RFC 9562, whose other bits are the maker's own.
    XUUID GetIdentity() const
    {
        std::array<std::uint8_t, XUUID::kByteCount> bytes;
        for ( std::size_t i = 0; i < bytes.size(); ++i )
            bytes[i] = static_cast<std::uint8_t>( ( i < 8 ? itsHigh : itsLow ) >> 8 * ( i % 8 ) );
        bytes[6] = static_cast<std::uint8_t>( ( bytes[6] & 0x0F ) | 0x80 );
        bytes[8] = static_cast<std::uint8_t>( ( bytes[8] & 0x3F ) | 0x80 );
        return XUUID( bytes.data() );
    }

private:
    std::uint64_t itsHigh = 0x243F6A8885A308D3; // digits of pi
    std::uint64_t itsLow = 0x13198A2E03707344;

    /// Each bit of the result depends on all of the number's: the last steps of SplitMix64.
    static std::uint64_t Mix( std::uint64_t inNumber )
    {
        inNumber += kXHashFactor;
        inNumber = ( inNumber ^ inNumber >> 30 ) * 0xBF58476D1CE4E5B9;
        inNumber = ( inNumber ^ inNumber >> 27 ) * 0x94D049BB133111EB;
        return inNumber ^ inNumber >> 31;
    }
};
} // namespace

XUUID XMakeObjectIdentity(
    std::string_view inName, std::size_t inImage, std::uint32_t inPage, const XPageMeasurement& inMeasurement,
    std::size_t inObject )
{
    IdentityHash hash;
    hash.Add( inName );
    hash.Add( std::uint64_t{ inImage } );
    hash.Add( std::uint64_t{ inPage } );
    hash.Add( std::uint64_t{ inObject < inMeasurement.GetOuterCount() } );
    const auto& shape = inMeasurement.shapes[inObject];
    for ( const std::uint64_t number :
          { shape.sumX, shape.sumY, std::uint64_t{ shape.pixelCount },
            std::uint64_t{ shape.verticalAdjacencies }, std::uint64_t{ shape.runCount },
            std::uint64_t{ shape.left }, std::uint64_t{ shape.top }, std::uint64_t{ shape.right },
            std::uint64_t{ shape.bottom }, std::uint64_t{ shape.firstX } } )
        hash.Add( number );
    for ( std::size_t channel = 0; channel < inMeasurement.channels; ++channel )
    {
        const auto& statistics = inMeasurement.statistics[inObject * inMeasurement.channels + channel];
        hash.Add( statistics.sum );
        hash.Add( statistics.standardDeviation );
    }
    return hash.GetIdentity();
}
