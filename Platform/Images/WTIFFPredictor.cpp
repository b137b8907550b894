#include "Images/WTIFFPredictor.h"

#include "Images/WTIFFUnpacker.h"

#include <algorithm>
#include <bit>
#include <cstring>

// Writers store differences of neighbouring samples because they compress better. Kind 2 stores the
// difference to the sample to the left of the same channel, modulo the size of the sample; kind 3, for
// floats, first takes the bytes of a row apart by significance and then stores differences of bytes. Undoing
// both is a running sum along each row. Samples of the other byte order are swapped before they are summed;
// kind 3 defines its own order.

namespace
{
template<class T>
void SwapAll( T* ioSamples, std::size_t inCount )
{
    for ( std::size_t i = 0; i < inCount; ++i )
    {
        auto value = ioSamples[i];
        T swapped = 0;
        for ( std::size_t b = 0; b < sizeof( T ); ++b, value = static_cast<T>( value >> 8 ) )
            swapped = static_cast<T>( swapped << 8 | ( value & 0xFF ) );
        ioSamples[i] = swapped;
    }
}

/// Sums that stay in registers, for so many channels.
template<std::size_t kChannels, class T>
void SumRow( T* ioSamples, std::size_t inCount )
{
    T sums[kChannels]{};
    for ( std::size_t i = 0; i + kChannels <= inCount; i += kChannels )
        for ( std::size_t channel = 0; channel < kChannels; ++channel )
            ioSamples[i + channel] = sums[channel] = static_cast<T>( sums[channel] + ioSamples[i + channel] );
}

/// Adds to each sample those to the left of it in its channel.
template<class T>
void SumRow( T* ioSamples, std::size_t inCount, std::size_t inChannels )
{
    switch ( inChannels )
    {
    case 1:
        return SumRow<1>( ioSamples, inCount );
    case 3:
        return SumRow<3>( ioSamples, inCount );
    case 4:
        return SumRow<4>( ioSamples, inCount );
    default:
        for ( auto i = inChannels; i < inCount; ++i )
            ioSamples[i] = static_cast<T>( ioSamples[i] + ioSamples[i - inChannels] );
    }
}

/// PackBits has no differences by its own rules. Programs disagree about a file that declares some.
void CheckKind( std::uint64_t inKind, std::uint64_t inCompression, const WTIFFSamples& inStored )
{
    const auto name = "predictor " + std::to_string( inKind );
    if ( inCompression == WTIFFUnpacker::kPackBits )
        throw WImageError( name + " is not allowed with PackBits compression" );
    if ( inKind != 2 && inKind != 3 )
        throw WImageError( "unknown " + name + " (expected 1, 2 or 3)" );
    if ( inKind == 3 && !inStored.IsFloat() )
        throw WImageError( name + " requires float samples" );
    if ( !std::has_single_bit( inStored.GetBits() ) || !inStored.HasWholeBytes() )
        throw WImageError( name + " requires samples of 8, 16, 32 or 64 bits" );
}
} // namespace

WTIFFPredictor::WTIFFPredictor(
    const WTIFFDirectory& inTags, bool inIsSwapped, const WTIFFSamples& inStored, std::uint64_t inWidth,
    std::uint32_t inChannels )
    : itsIsSwapped( inIsSwapped ), itsSampleSize( inStored.HasWholeBytes() ? inStored.GetBits() / 8 : 0 ),
      itsSamples( inWidth * inChannels ), itsRowSize( inStored.GetRowSize( itsSamples ) ),
      itsChannels( inChannels )
{
    const auto compression = inTags.GetNumber( WTIFFDirectory::kCompression, WTIFFUnpacker::kNone );
    if ( compression == WTIFFUnpacker::kNone )
        return; // What the tag says then has no meaning.
    itsKind = inTags.GetNumber( WTIFFDirectory::kPredictor, kNone );
    if ( itsKind != kNone )
        CheckKind( itsKind, compression, inStored );
}

void WTIFFPredictor::Undo( std::byte* ioRows, std::uint64_t inRows )
{
    const auto undoRow = [&]( std::byte* ioRow )
    {
        switch ( itsSampleSize )
        {
        case 1:
            return UndoRow<std::uint8_t>( ioRow );
        case 2:
            return UndoRow<std::uint16_t>( ioRow );
        case 3:
            return SwapTriples( ioRow );
        case 4:
            return UndoRow<std::uint32_t>( ioRow );
        case 8:
            return UndoRow<std::uint64_t>( ioRow );
        default:
            return;
        }
    };
    for ( auto* const end = ioRows + inRows * itsRowSize; ioRows < end; ioRows += itsRowSize )
        undoRow( ioRows );
}

template<class T>
void WTIFFPredictor::UndoRow( std::byte* ioRow )
{
    if ( itsKind == kFloatingPoint )
        return UndoFloatingPoint<T>( ioRow );
    auto* const samples = reinterpret_cast<T*>( ioRow );
    if ( itsIsSwapped )
        SwapAll( samples, itsSamples );
    if ( itsKind == kHorizontal )
        SumRow( samples, itsSamples, itsChannels );
}

/// The highest byte first, which is the order of packed bits.
void WTIFFPredictor::SwapTriples( std::byte* ioRow ) const
{
    const auto isHighestFirst = ( std::endian::native == std::endian::big ) != itsIsSwapped;
    for ( std::size_t i = 0; !isHighestFirst && i < itsSamples; ++i )
        std::swap( ioRow[3 * i], ioRow[3 * i + 2] );
}

/// First come the highest bytes of all samples of the row, whatever the byte order of the file.
template<class T>
void WTIFFPredictor::UndoFloatingPoint( std::byte* ioRow )
{
    SumRow( reinterpret_cast<std::uint8_t*>( ioRow ), itsRowSize, itsChannels );
    itsRow.assign( ioRow, ioRow + itsRowSize );
    const auto* const highest = itsRow.data();
    for ( std::size_t i = 0; i < itsSamples; ++i )
    {
        T number = 0;
        for ( std::size_t b = 0; b < sizeof( number ); ++b )
            number = static_cast<T>(
                std::uint64_t{ number } << 8 | static_cast<std::uint8_t>( highest[b * itsSamples + i] ) );
        std::memcpy( ioRow + i * sizeof( number ), &number, sizeof( number ) );
    }
}
